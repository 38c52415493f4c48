#pragma once

#include "app/AppModel.h"
#include "ui/widgets/RovingFocus.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/checkbutton.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/scrolledwindow.h>

namespace ostrel {

// Which mailboxes are shown: one check box for all, and one for each below its account. A click on a name, or the
// Return key, shows that mailbox alone. One stop of the Tab key; Left and Right close and open an account.
class MailboxSidebar : public Gtk::Box {
public:
    explicit MailboxSidebar(AppModel& model);
    // By its name: what is to be seen is in the list now.
    sigc::signal<void()> signalChosen;

private:
    // An account: its name, which opens and closes it, and below that its mailboxes.
    struct Section {
        std::string accountID;
        Gtk::Button* header;
        Gtk::Image* arrow;
        Gtk::Box* mailboxes;
    };
    struct Row {
        std::string mailboxID;
        Gtk::Widget* line;
        Gtk::CheckButton* check;
        std::size_t section;
    };

    void showMailboxes();
    void addAccount(const MailAccount& account, const std::string& label);
    void expand(const Section& section, bool isExpanded);
    void showChecks();
    // The line of a mailbox, or of all without an identity, that is chosen by what stands behind its check box.
    Gtk::Box& makeLine(Gtk::CheckButton& check, Gtk::Box& content, std::optional<std::string> mailboxID);
    void choose(const std::optional<std::string>& mailboxID);
    bool chooseAt(const Gtk::Widget& stop);
    void collectStops();
    void moveSideways(Gtk::Widget& stop, bool toEnd);

    AppModel& model_;
    bool isShowing_ = false;
    std::vector<MailAccount> shown_;
    std::map<std::string, bool> isCollapsed_;   // by account, as the user left it
    std::vector<Section> sections_;
    std::vector<Row> rows_;
    Gtk::CheckButton all_;
    Gtk::Label* chosen_;   // how many, unless all are
    Gtk::Box list_, accounts_;
    Gtk::ScrolledWindow scroller_;
    RovingFocus focus_{list_};
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
