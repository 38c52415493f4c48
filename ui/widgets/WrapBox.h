#pragma once

#include <vector>

#include <gtkmm/widget.h>

namespace ostrel {

// Puts its children side by side and goes on in the next line where the width ends. Children that expand share what is
// left of their line; a line never gets narrower than its widest child.
class WrapBox : public Gtk::Widget {
public:
    WrapBox(int columnSpacing, int rowSpacing);
    ~WrapBox() override;

    // The child stays the caller's.
    void append(Gtk::Widget& child);

protected:
    Gtk::SizeRequestMode get_request_mode_vfunc() const override { return Gtk::SizeRequestMode::HEIGHT_FOR_WIDTH; }
    void measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural, int& minimumBaseline,
                       int& naturalBaseline) const override;
    void size_allocate_vfunc(int width, int height, int baseline) override;

private:
    struct Item {
        Gtk::Widget* child;
        int minimum, natural;   // width
    };
    struct Line {
        std::vector<Item> items;
        int height;
    };
    std::vector<Line> lines(int width) const;

    int columnSpacing_, rowSpacing_;
    std::vector<Gtk::Widget*> children_;
};

}   // namespace ostrel
