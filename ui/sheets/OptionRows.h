#pragma once

#include "app/AppModel.h"

#include <string>
#include <vector>

#include <gtkmm/box.h>
#include <gtkmm/label.h>
#include <gtkmm/switch.h>
#include <gtkmm/togglebutton.h>

// Controls bound to one field of the model's settings each: they show it, and set it when the user does.
namespace ostrel {

class SwitchRow : public Gtk::Box {
public:
    SwitchRow(AppModel& model, const std::string& text, bool AppSettings::*field);
    Gtk::Switch& control() { return switch_; }

private:
    void show();

    AppModel& model_;
    bool AppSettings::*field_;
    Gtk::Label label_;
    Gtk::Switch switch_;
    Subscription subscription_;
};

// "Paper size", one segment for each paper.
class PaperRow : public Gtk::Box {
public:
    explicit PaperRow(AppModel& model);

private:
    void show();

    AppModel& model_;
    Gtk::Label label_;
    Gtk::Box segments_;
    Gtk::ToggleButton letter_, a4_;
    Subscription subscription_;
};

}   // namespace ostrel
