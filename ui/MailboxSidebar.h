#pragma once

#include "app/AppModel.h"

#include <list>
#include <map>
#include <string>
#include <vector>

#include <gtkmm/box.h>
#include <gtkmm/checkbutton.h>
#include <gtkmm/expander.h>
#include <gtkmm/scrolledwindow.h>

namespace ostrel {

// Which mailboxes are shown: one check box for all, and one for each below its account.
class MailboxSidebar : public Gtk::Box {
public:
    explicit MailboxSidebar(AppModel& model);

private:
    struct Row {
        std::string mailboxID;
        Gtk::CheckButton* check;
    };

    void showMailboxes();
    void addAccount(const MailAccount& account);
    void showChecks();

    AppModel& model_;
    bool isShowing_ = false;
    std::vector<MailAccount> shown_;
    std::map<std::string, bool> isCollapsed_;   // by account, as the user left it
    std::vector<Row> rows_;
    Gtk::CheckButton all_;
    Gtk::Box list_, accounts_;
    Gtk::ScrolledWindow scroller_;
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
