#pragma once

#include "ui/sheets/SheetWindow.h"

namespace ostrel {

// What a first start shows, and again on request.
class WelcomeSheet : public SheetWindow {
public:
    WelcomeSheet(AppModel& model, Gtk::Window& parent);

private:
    void begin();
};

}   // namespace ostrel
