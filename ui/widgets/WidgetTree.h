#pragma once

#include <gtkmm/application.h>
#include <gtkmm/headerbar.h>
#include <gtkmm/window.h>

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

// Shows a window of the application, also one that was hidden: it has left the application then, and when it comes back
// its title buttons stay dead unless they are made anew.
inline void bring(Gtk::Window& window, Gtk::Application& application) {
    if (!window.get_application()) {
        application.add_window(window);
        if (auto* bar = dynamic_cast<Gtk::HeaderBar*>(window.get_titlebar())) {
            bar->set_show_title_buttons(false);
            bar->set_show_title_buttons(true);
        }
    }
    window.present();
}

}   // namespace ostrel::widgets
