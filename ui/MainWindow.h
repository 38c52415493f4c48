#pragma once

#include "app/AppModel.h"

#include <vector>

#include <gtkmm/applicationwindow.h>

namespace ostrel {

// The one main window: what it contains follows the state of the mail folder.
class MainWindow : public Gtk::ApplicationWindow {
public:
    MainWindow(AppModel& model, Desktop& desktop);

private:
    AppModel& model_;
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
