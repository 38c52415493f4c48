#pragma once

#include <memory>

#include <gtkmm/shortcutswindow.h>

namespace ostrel {

// The keys of the application, as the desktop shows them.
std::unique_ptr<Gtk::ShortcutsWindow> makeShortcutsWindow();

}   // namespace ostrel
