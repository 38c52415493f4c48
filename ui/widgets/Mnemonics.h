#pragma once

#include <set>
#include <string>

#include <gtkmm/button.h>

namespace ostrel {

// Gives the texts of one menu or one window a letter each that Alt (or in a menu the letter alone) chooses them by.
// Texts are translated without one: every language has its letters shared out here.
class Mnemonics {
public:
    // The text with "_" before its letter: the first free one that begins a word, else the first free one. Texts come
    // back without where no letter is free. Underscores of the text itself are doubled.
    std::string mark(const std::string& text);

    // Writes the text on the button, marked; to a screen reader it is the text alone.
    void write(Gtk::Button& button, const std::string& text);
    // The letter of a text that is marked already is taken.
    void take(const std::string& marked);

private:
    std::set<char> taken_;   // lower case
};

}   // namespace ostrel
