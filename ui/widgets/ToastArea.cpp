#include "ui/widgets/ToastArea.h"

#include <utility>

#include <adwaita.h>

namespace ostrel {

ToastArea::ToastArea() : overlay_(ADW_TOAST_OVERLAY(adw_toast_overlay_new())) {
    gtk_widget_set_hexpand(GTK_WIDGET(overlay_), TRUE);
    gtk_widget_set_vexpand(GTK_WIDGET(overlay_), TRUE);
    gtk_box_append(gobj(), GTK_WIDGET(overlay_));
}

void ToastArea::setChild(Gtk::Widget& child) { adw_toast_overlay_set_child(overlay_, child.gobj()); }

void ToastArea::show(const std::string& text, const std::string& button, std::function<void()> clicked) {
    AdwToast* const toast = adw_toast_new(text.c_str());
    adw_toast_set_button_label(toast, button.c_str());
    using Run = std::function<void()>;
    g_signal_connect_data(
        toast, "button-clicked", G_CALLBACK(+[](AdwToast*, gpointer run) { (*static_cast<Run*>(run))(); }),
        new Run(std::move(clicked)), [](gpointer run, GClosure*) { delete static_cast<Run*>(run); }, GConnectFlags{});
    adw_toast_overlay_add_toast(overlay_, toast);
}

}   // namespace ostrel
