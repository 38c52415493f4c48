#pragma once

#include <functional>
#include <vector>

#include <gtkmm/widget.h>

namespace ostrel {

// Makes many widgets one stop of the Tab key. Up, Down, Home and End move the focus from one to the next; the Tab key
// comes to the one that had it last. The arrow keys never reach the widgets: the toolkit would tick a check box on its
// own for one.
class RovingFocus {
public:
    // Within an area that lives as long as this.
    explicit RovingFocus(Gtk::Widget& area);
    RovingFocus(const RovingFocus&) = delete;
    RovingFocus& operator=(const RovingFocus&) = delete;

    // In the order of the keys. Must be told before one of them goes.
    void setStops(std::vector<Gtk::Widget*> stops);
    void moveTo(Gtk::Widget& stop);
    // Left or Right was pressed on a stop; to the end of its line or to the beginning.
    std::function<void(Gtk::Widget& stop, bool toEnd)> onSideways;
    // Return was pressed on a stop. Whether that was all there is to do.
    std::function<bool(Gtk::Widget& stop)> onReturn;

private:
    bool press(unsigned key);
    void choose(Gtk::Widget* stop);

    Gtk::Widget& area_;
    std::vector<Gtk::Widget*> stops_;
    Gtk::Widget* current_ = nullptr;   // the only one that can have the focus
};

}   // namespace ostrel
