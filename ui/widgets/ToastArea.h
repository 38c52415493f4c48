#pragma once

#include <functional>
#include <string>

#include <gtkmm/box.h>

typedef struct _AdwToastOverlay AdwToastOverlay;

namespace ostrel {

// Its child, and over the lower edge of it a line of text that comes and goes by itself.
class ToastArea : public Gtk::Box {
public:
    ToastArea();
    // The child stays the caller's.
    void setChild(Gtk::Widget& child);
    // With a button; clicked may run until the line has gone.
    void show(const std::string& text, const std::string& button, std::function<void()> clicked);

private:
    AdwToastOverlay* overlay_;   // owned by the box
};

}   // namespace ostrel
