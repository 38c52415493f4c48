#pragma once

#include "app/AppModel.h"

#include <vector>

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>

namespace ostrel {

class Mnemonics;

// How many messages the list has, and the button that exports them.
class ExportBar : public Gtk::Box {
public:
    ExportBar(AppModel& model, Mnemonics& mnemonics);

private:
    void show();

    AppModel& model_;
    Gtk::Label count_;
    Gtk::Button export_;
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
