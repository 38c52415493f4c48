#include "ui/widgets/EmptyState.h"

#include "ui/widgets/Symbols.h"

#include <adwaita.h>
#include <glibmm/markup.h>

namespace ostrel {

EmptyState::EmptyState(const char* symbol, const std::string& title, const std::string& description)
    : Gtk::Box(Gtk::Orientation::VERTICAL),
      page_(ADW_STATUS_PAGE(adw_status_page_new())),
      buttons_(Gtk::Orientation::VERTICAL, 12) {
    adw_status_page_set_icon_name(page_, symbols::iconName(symbol));
    setTitle(title);
    setDescription(description);
    buttons_.set_halign(Gtk::Align::CENTER);
    adw_status_page_set_child(page_, GTK_WIDGET(buttons_.gobj()));
    gtk_widget_add_css_class(GTK_WIDGET(page_), "compact");
    gtk_widget_set_vexpand(GTK_WIDGET(page_), TRUE);
    gtk_box_append(gobj(), GTK_WIDGET(page_));
}

void EmptyState::setTitle(const std::string& title) { adw_status_page_set_title(page_, title.c_str()); }

void EmptyState::setDescription(const std::string& description) {
    adw_status_page_set_description(page_, Glib::Markup::escape_text(description).c_str());
}

void EmptyState::addButton(Gtk::Button& button) {
    button.add_css_class("pill");
    buttons_.append(button);
}

}   // namespace ostrel
