#pragma once

#include "app/AppModel.h"
#include "ui/widgets/Mnemonics.h"

#include <string>

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/eventcontrollerkey.h>
#include <gtkmm/headerbar.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/window.h>

namespace ostrel {

// A sheet: a window that covers the main window until it is done with. Its content scrolls where it does not fit; its
// buttons stay in sight.
class SheetWindow : public Gtk::Window {
public:
    SheetWindow(AppModel& model, Gtk::Window& parent, const std::string& title);

protected:
    AppModel& model() const { return model_; }
    // Where the sheet's own widgets go, above its buttons.
    Gtk::Box& content() { return content_; }
    // Buttons from left to right. Clicks leave the focus where it is, so that Return goes on to mean the default.
    void addButton(Gtk::Button& button, const std::string& text);
    // Makes the sheet as high as its content, where the display allows, and never lower than it was: what stands in it
    // stays in its place. When the content is complete, and when it becomes another.
    void fit();
    // Escape, and closing the window by other means. Closes the sheet unless overridden.
    virtual void cancel();

    bool on_close_request() override;

private:
    void arrangeButtons(int width);

    AppModel& model_;
    Mnemonics mnemonics_;
    Gtk::HeaderBar header_;
    Gtk::ScrolledWindow scroller_;
    Gtk::Box body_, content_, buttons_;
    int height_ = 0;
};

}   // namespace ostrel
