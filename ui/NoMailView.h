#pragma once

#include "app/AppModel.h"
#include "ui/widgets/EmptyState.h"
#include "ui/widgets/Mnemonics.h"

#include <vector>

#include <gtkmm/button.h>

namespace ostrel {

// The main window where there is no mail folder, or its reading was stopped: what to do about it.
class NoMailView : public EmptyState {
public:
    NoMailView(AppModel& model, Mnemonics mnemonics);

private:
    void show();
    void showFound();

    AppModel& model_;
    Gtk::Box found_;   // a button for each folder
    Gtk::Button choose_, standard_, again_;
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
