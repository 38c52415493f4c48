#pragma once

#include <string>

#include <gtkmm/box.h>
#include <gtkmm/messagedialog.h>

namespace ostrel {

// A few words in front of a window, to be answered before that goes on; of the whole application where there is none.
// Its buttons are the caller's.
class Alert : public Gtk::MessageDialog {
public:
    Alert(Gtk::Window* parent, const std::string& title, const std::string& text);
    // A screen reader reads the text once.
    Gtk::Button& addAnswer(const std::string& text, int response);

private:
    Gtk::Box edge_;
};

}   // namespace ostrel
