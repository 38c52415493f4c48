#pragma once

#include <gtkmm/widget.h>

// Parts of the toolkit's own widgets.
namespace ostrel::widgets {

// The child that style sheets call so, or null.
inline Gtk::Widget* childNamed(Gtk::Widget& parent, const char* cssName) {
    for (Gtk::Widget* child = parent.get_first_child(); child != nullptr; child = child->get_next_sibling())
        if (child->get_css_name() == cssName) return child;
    return nullptr;
}

// Itself or something in it.
inline bool hasFocus(const Gtk::Widget& widget) {
    return (widget.get_state_flags() & Gtk::StateFlags::FOCUS_WITHIN) != Gtk::StateFlags();
}

}   // namespace ostrel::widgets
