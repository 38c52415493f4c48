#pragma once

#include "app/AppModel.h"

#include <string>

#include <gtkmm/widget.h>

// Rows of preferences bound to one field of the model's settings each: they show it, and set it when the user does.
// They belong to the group that they are added to; the model outlives them.
namespace ostrel {

Gtk::Widget& makeSwitchRow(AppModel& model, const std::string& text, bool AppSettings::*field);
// "Paper size", one segment for each paper.
Gtk::Widget& makePaperRow(AppModel& model);

}   // namespace ostrel
