#pragma once

#include "app/AppModel.h"
#include "ui/widgets/DateToggle.h"
#include "ui/widgets/WrapBox.h"

#include <functional>
#include <string>
#include <vector>

#include <gtkmm/button.h>
#include <gtkmm/entry.h>

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

    AppModel& model_;
    bool isShowing_ = false;
    Gtk::Entry person_, subject_;
    DateToggle start_, end_;
    Gtk::Button clear_;
    WrapBox texts_, days_;
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
