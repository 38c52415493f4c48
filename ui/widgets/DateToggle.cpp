#include "ui/widgets/DateToggle.h"

#include "platform/LocaleFormat.h"
#include "ui/widgets/Accessible.h"

#include <chrono>

#include <glibmm/datetime.h>
#include <gtkmm/eventcontrollerkey.h>

namespace ostrel {
namespace {

Day today() {
    const auto now = std::chrono::time_point_cast<Instant::duration>(std::chrono::system_clock::now());
    return Calendar::current().components(now).date;
}

// The toolkit ticks a check box when an arrow key is pressed on it: they move on instead, as the Tab key does.
void keepFromArrows(Gtk::CheckButton& check) {
    const auto keys = Gtk::EventControllerKey::create();
    keys->signal_key_pressed().connect(
        [&check](guint key, guint, Gdk::ModifierType) {
            const bool isOn = key == GDK_KEY_Down || key == GDK_KEY_Right;
            if (!isOn && key != GDK_KEY_Up && key != GDK_KEY_Left) return false;
            gtk_widget_child_focus(GTK_WIDGET(gtk_widget_get_root(GTK_WIDGET(check.gobj()))),
                                   isOn ? GTK_DIR_TAB_FORWARD : GTK_DIR_TAB_BACKWARD);
            return true;
        },
        false);
    check.add_controller(keys);
}

}   // namespace

DateToggle::DateToggle(const std::string& title, const std::string& label)
    : Gtk::Box(Gtk::Orientation::HORIZONTAL, 6),
      label_(label),
      check_(title, true),
      box_(Gtk::Orientation::VERTICAL, 6) {
    accessible::setLabel(check_, label_);
    keepFromArrows(check_);
    check_.signal_toggled().connect([this] {
        if (!isShowing_) change(check_.get_active() ? std::optional(today()) : std::nullopt);
    });
    append(check_);

    accessible::setLabel(typed_, label_);
    typed_.set_activates_default(false);
    typed_.signal_changed().connect([this] {
        const auto day = locale::dayIn(typed_.get_text().raw());
        if (day) {
            typed_.remove_css_class("error");
        } else {
            typed_.add_css_class("error");
        }
        if (isShowing_ || !day) return;
        change(day);
        showInCalendar(*day);
    });
    typed_.signal_activate().connect([this] { popover_.popdown(); });
    accessible::setLabel(calendar_, label_);
    calendar_.signal_day_selected().connect([this] {
        if (isShowing_) return;
        const Glib::DateTime chosen = calendar_.get_date();
        change(Day{chosen.get_year(), chosen.get_month(), chosen.get_day_of_month()});
        showInPopover();
    });
    box_.append(typed_);
    box_.append(calendar_);
    popover_.set_child(box_);
    popover_.signal_show().connect([this] { showInPopover(); });
    field_.set_popover(popover_);
    field_.add_css_class("numeric");
    append(field_);
    show();
}

void DateToggle::setDate(std::optional<Day> date) {
    if (date == date_) return;
    date_ = date;
    show();
}

void DateToggle::change(std::optional<Day> date) {
    if (date == date_) return;
    setDate(date);
    if (onChange) onChange(date);
}

void DateToggle::show() {
    isShowing_ = true;
    check_.set_active(date_.has_value());
    field_.set_visible(date_.has_value());
    if (date_) {
        const std::string words = locale::numericDate(*date_);
        field_.set_label(words);
        // The button inside is what gets the focus.
        accessible::setLabel(*field_.get_first_child(), label_);
        accessible::setDescription(*field_.get_first_child(), words);
    }
    isShowing_ = false;
}

void DateToggle::showInPopover() {
    const Day day = date_.value_or(today());
    isShowing_ = true;
    typed_.set_text(locale::numericDate(day));
    isShowing_ = false;
    showInCalendar(day);
}

void DateToggle::showInCalendar(Day day) {
    isShowing_ = true;
    calendar_.select_day(Glib::DateTime::create_local(day.year, day.month, day.day, 12, 0, 0));
    isShowing_ = false;
}

}   // namespace ostrel
