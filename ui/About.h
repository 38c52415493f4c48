#pragma once

#include <gtkmm/window.h>

namespace ostrel {

// In front of the window, if any.
void showAbout(Gtk::Window* parent);

}   // namespace ostrel
