#pragma once

#include "app/AppModel.h"

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/label.h>
#include <gtkmm/spinner.h>

namespace ostrel {

// What the window shows while the mail folder is checked and read.
class ReadingView : public Gtk::Box {
public:
    ReadingView();
    // While the state is one of reading; the spinner rests in all others.
    void update(const MailState& state);
    sigc::signal<void()> signalCancel;

private:
    Gtk::Spinner spinner_;
    Gtk::Label label_;
    Gtk::Button cancel_;
};

}   // namespace ostrel
