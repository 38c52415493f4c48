#pragma once

#include <gtkmm/label.h>

namespace ostrel {

// A label of several lines, from the left. Words and paths that are longer than a line break without a hyphen, which
// would read as a part of them.
void wrapFromLeft(Gtk::Label& label);

// The same in the middle, in lines of about as many characters.
void wrapCentered(Gtk::Label& label, int lineCharacters);

}   // namespace ostrel
