#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gtkmm/window.h>

namespace ostrel {

struct Answer {
    enum class Kind { plain, suggested, destructive };
    std::string text;
    std::function<void()> chosen = {};
    Kind kind = Kind::plain;
};

// Asks or tells something in front of a window, to be answered before that goes on; of the whole application where
// there is none. Escape chooses the first answer, Return the suggested one, else the first too.
void showAlert(Gtk::Window* parent, const std::string& title, const std::string& text, std::vector<Answer> answers);

}   // namespace ostrel
