#pragma once

#include <string>

#include <gtkmm/box.h>
#include <gtkmm/image.h>
#include <gtkmm/inscription.h>

namespace ostrel {

// One cell of the message table: a line of text, cut off where the column ends, and a symbol behind it if wanted. How
// wide it wants to be does not depend on the text, so that columns stay as they are while the list scrolls.
class MessageCell : public Gtk::Box {
public:
    struct Width {
        int minimum, ideal;   // pixels at the usual text size
        int least = 0;        // pixels at the user's text size
    };
    // As many pixels at the text size that the user chose.
    static int scaled(int pixels);

    explicit MessageCell(Width width);

    void setText(const std::string& text);
    // From the icon theme; spoken as the label says.
    void setSymbol(const char* iconName, const std::string& label);
    void showSymbol(bool on);
    Gtk::Inscription& text() { return text_; }

protected:
    Gtk::SizeRequestMode get_request_mode_vfunc() const override { return Gtk::SizeRequestMode::CONSTANT_SIZE; }
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural, int& minimumBaseline,
                       int& naturalBaseline) const override;
    void size_allocate_vfunc(int width, int height, int baseline) override;

private:
    Width width_;
    Gtk::Inscription text_;
    Gtk::Image symbol_;
};

}   // namespace ostrel
