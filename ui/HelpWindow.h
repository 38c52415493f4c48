#pragma once

#include "ui/HelpTopics.h"

#include <vector>

#include <gtkmm/box.h>
#include <gtkmm/headerbar.h>
#include <gtkmm/listbox.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/window.h>

namespace ostrel {

// The help: its topics on the left, the chosen one on the right.
class HelpWindow : public Gtk::Window {
public:
    HelpWindow();

private:
    void show(const Topic& topic);

    std::vector<Topic> topics_;
    Gtk::HeaderBar header_;
    Gtk::Box columns_, page_;
    Gtk::ScrolledWindow list_, scroller_;
    Gtk::ListBox titles_;
};

}   // namespace ostrel
