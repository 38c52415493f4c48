#pragma once

#include "app/AppModel.h"

#include <string>
#include <vector>

#include <gtkmm/box.h>
#include <gtkmm/label.h>

namespace ostrel {

// What stands at the foot of the mailboxes: the promise not to change mail, the folder that is read where it is the
// user's own choice, and how many of its files could not be read.
class SidebarFooter : public Gtk::Box {
public:
    explicit SidebarFooter(AppModel& model);

private:
    // A symbol and a text that wraps where the sidebar ends.
    class Line : public Gtk::Box {
    public:
        Line(const char* symbol, const std::string& text);
        void setText(const std::string& text) { label_.set_text(text); }

    private:
        Gtk::Label label_;
    };

    void show();

    AppModel& model_;
    Line promise_, folder_, damaged_;
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
