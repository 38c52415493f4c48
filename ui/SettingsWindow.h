#pragma once

#include "app/AppModel.h"
#include "ui/widgets/Mnemonics.h"

#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <gtkmm/window.h>

namespace ostrel {

// What can be chosen for good. Every change is kept at once.
class SettingsWindow : public Gtk::Window {
public:
    explicit SettingsWindow(AppModel& model);

protected:
    void on_show() override;

private:
    Gtk::Widget& mailFolder();
    Gtk::Widget& exports();
    Gtk::Widget& gettingStarted();
    void showFolder();

    AppModel& model_;
    Mnemonics mnemonics_;
    Gtk::Label& folder_;
    Gtk::Button& choose_;
    Subscription subscription_;
};

}   // namespace ostrel
