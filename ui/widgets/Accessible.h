#pragma once

#include <string>

#include <gtkmm/widget.h>

// What a screen reader says of a widget, where what is written on it does not say it.
namespace ostrel::accessible {

inline void setLabel(Gtk::Widget& widget, const std::string& label) {
    // A button with a mnemonic is named by what is written on it too, and would be read twice.
    gtk_accessible_reset_relation(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_RELATION_LABELLED_BY);
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL, label.c_str(), -1);
}

inline void setDescription(Gtk::Widget& widget, const std::string& description) {
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                   description.c_str(), -1);
}

// Before the widget is shown.
inline void setRole(Gtk::Widget& widget, GtkAccessibleRole role) {
    g_object_set(widget.gobj(), "accessible-role", role, nullptr);
}

// Where the same is told in words already. Before the widget is shown.
inline void hide(Gtk::Widget& widget) {
    setRole(widget, GTK_ACCESSIBLE_ROLE_PRESENTATION);
    gtk_accessible_update_state(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_STATE_HIDDEN, TRUE, -1);
}

}   // namespace ostrel::accessible
