#pragma once

#include "app/AppModel.h"
#include "ui/widgets/Mnemonics.h"

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/scrolledwindow.h>

namespace ostrel {

// The main window where there is no mail folder.
class NoMailView : public Gtk::ScrolledWindow {
public:
    NoMailView(AppModel& model, Mnemonics mnemonics);

private:
    void show();

    AppModel& model_;
    Gtk::Box content_, buttons_;
    Gtk::Image image_;
    Gtk::Label title_, text_;
    Gtk::Button choose_, standard_, again_;
    Subscription subscription_;
};

}   // namespace ostrel
