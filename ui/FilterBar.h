#pragma once

#include "app/AppModel.h"
#include "ui/widgets/DateToggle.h"
#include "ui/widgets/WrapBox.h"

#include <functional>
#include <string>
#include <vector>

#include <gtkmm/button.h>
#include <gtkmm/menubutton.h>
#include <gtkmm/popover.h>
#include <gtkmm/searchentry.h>

namespace ostrel {

class Mnemonics;

// What the messages are asked to match. Every change goes to the model at once.
class FilterBar : public Gtk::Box {
public:
    // mnemonics: those of the window that the bar stands in.
    FilterBar(AppModel& model, Mnemonics& mnemonics);
    // Moves the focus to the first text.
    void find() { person_.grab_focus(); }

private:
    void change(const std::function<void(MessageFilter&)>& edit);
    void show();
    void showDays();

    AppModel& model_;
    bool isShowing_ = false;
    Gtk::SearchEntry person_, subject_;
    Gtk::MenuButton days_;
    Gtk::Popover popover_;
    Gtk::Box choices_;
    DateToggle start_, end_;
    Gtk::Button clear_;
    WrapBox line_;
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
