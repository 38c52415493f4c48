#include "ui/widgets/Preferences.h"

#include "ui/widgets/Accessible.h"
#include "ui/widgets/Symbols.h"

#include <adwaita.h>
#include <glibmm/markup.h>
#include <gtkmm/image.h>

namespace ostrel::preferences {
namespace {

AdwActionRow* newRow(const std::string& title) {
    auto* const row = ADW_ACTION_ROW(adw_action_row_new());
    adw_preferences_row_set_use_markup(ADW_PREFERENCES_ROW(row), FALSE);
    adw_preferences_row_set_title(ADW_PREFERENCES_ROW(row), title.c_str());
    adw_action_row_set_title_lines(row, 0);             // as many as it takes
    gtk_widget_set_focusable(GTK_WIDGET(row), FALSE);   // a stop of the Tab key that does nothing
    return row;
}

}   // namespace

Gtk::Widget& makeRow(const std::string& title, Gtk::Widget& control, Click click) {
    AdwActionRow* const row = newRow(title);
    adw_action_row_add_suffix(row, control.gobj());
    if (click == Click::activatesControl) adw_action_row_set_activatable_widget(row, control.gobj());
    return *Glib::wrap(GTK_WIDGET(row));
}

Gtk::Widget& makeLine(const char* symbol, const std::string& title) {
    AdwActionRow* const row = newRow(title);
    auto& image = *Gtk::make_managed<Gtk::Image>();
    image.set_from_icon_name(symbols::iconName(symbol));
    accessible::hide(image);
    adw_action_row_add_prefix(row, GTK_WIDGET(image.gobj()));
    return *Glib::wrap(GTK_WIDGET(row));
}

Gtk::Widget& makeGroup(const std::string& title, const std::string& description,
                       const std::vector<Gtk::Widget*>& rows) {
    auto* const group = ADW_PREFERENCES_GROUP(adw_preferences_group_new());
    if (!title.empty()) adw_preferences_group_set_title(group, Glib::Markup::escape_text(title).c_str());
    if (!description.empty())
        adw_preferences_group_set_description(group, Glib::Markup::escape_text(description).c_str());
    for (Gtk::Widget* row : rows) adw_preferences_group_add(group, row->gobj());
    return *Glib::wrap(GTK_WIDGET(group));
}

Gtk::Widget& makePage(const std::vector<Gtk::Widget*>& groups) {
    auto* const page = ADW_PREFERENCES_PAGE(adw_preferences_page_new());
    for (Gtk::Widget* group : groups) adw_preferences_page_add(page, ADW_PREFERENCES_GROUP(group->gobj()));
    return *Glib::wrap(GTK_WIDGET(page));
}

}   // namespace ostrel::preferences
