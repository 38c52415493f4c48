#pragma once

#include <string>

#include <gtkmm/box.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>

namespace ostrel {

// A symbol and a text beside it, read as one: titles, and lines that a symbol makes easier to find. The symbol stands
// in the middle of the first line; a style class for the text belongs to the whole.
class Headline : public Gtk::Box {
public:
    Headline(const char* symbol, const std::string& text, int symbolSize = 16);

    void set(const char* symbol, const std::string& text);
    Gtk::Label& label() { return label_; }
    Gtk::Image& image() { return image_; }

private:
    Gtk::Box mark_;
    Gtk::Label strut_;   // empty: as high as a line of the text
    Gtk::Image image_;
    Gtk::Label label_;
};

}   // namespace ostrel
