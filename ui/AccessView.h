#pragma once

#include "app/AppModel.h"
#include "app/Desktop.h"
#include "ui/widgets/Mnemonics.h"

#include <functional>
#include <string>

#include <gtkmm/box.h>
#include <gtkmm/scrolledwindow.h>

namespace ostrel {

// The main window where the mail folder may not be read: how to allow it, in three steps.
class AccessView : public Gtk::ScrolledWindow {
public:
    AccessView(AppModel& model, Desktop& desktop, Mnemonics mnemonics);

private:
    void addStep(unsigned number, const std::string& title, const std::string& text, const std::string& button,
                 std::function<void()> run);
    void addPromise(const char* symbol, const std::string& text);

    Mnemonics mnemonics_;
    Gtk::Box content_;
};

}   // namespace ostrel
