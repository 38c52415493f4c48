#pragma once

#include "app/AppModel.h"
#include "ui/widgets/RovingFocus.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/checkbutton.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/scrolledwindow.h>

namespace ostrel {

// Which mailboxes are shown: one check box for all, and one for each below its account. One stop of the Tab key; Left
// and Right close and open an account.
class MailboxSidebar : public Gtk::Box {
public:
    explicit MailboxSidebar(AppModel& model);

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
        Gtk::CheckButton* check;
        std::size_t section;
    };

    void showMailboxes();
    void addAccount(const MailAccount& account);
    void expand(const Section& section, bool isExpanded);
    void showChecks();
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
