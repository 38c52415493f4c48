#pragma once

#include "platform/Time.h"

#include <functional>
#include <optional>
#include <string>

#include <gtkmm/box.h>
#include <gtkmm/calendar.h>
#include <gtkmm/checkbutton.h>
#include <gtkmm/entry.h>
#include <gtkmm/menubutton.h>
#include <gtkmm/popover.h>

namespace ostrel {

// A day that may be asked for: a check box and, while it is on, a field that picks the day from a calendar or takes it
// as typed.
class DateToggle : public Gtk::Box {
public:
    // title: as marked with a mnemonic by the caller; label: the same without, which is spoken.
    DateToggle(const std::string& title, const std::string& label);

    void setDate(std::optional<Day> date);
    std::function<void(std::optional<Day>)> onChange;   // the user chose

private:
    void change(std::optional<Day> date);
    void show();
    void showInPopover();
    void showInCalendar(Day day);

    std::optional<Day> date_;
    bool isShowing_ = false;
    std::string label_;
    Gtk::CheckButton check_;
    Gtk::MenuButton field_;
    Gtk::Popover popover_;
    Gtk::Box box_;
    Gtk::Entry typed_;
    Gtk::Calendar calendar_;
};

}   // namespace ostrel
