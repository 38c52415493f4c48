#pragma once

#include "app/AppModel.h"
#include "ui/widgets/Headline.h"

#include <vector>

#include <gtkmm/box.h>

namespace ostrel {

// What stands at the foot of the mailboxes: the promise not to change mail, the folder that is read where it is the
// user's own choice, and how many of its files could not be read.
class SidebarFooter : public Gtk::Box {
public:
    explicit SidebarFooter(AppModel& model);

private:
    void show();

    AppModel& model_;
    Headline promise_, folder_, damaged_;
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
