#pragma once

#include <string>

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>

namespace ostrel {

// What stands where there is nothing to show: a symbol, a title, what to do about it, and a button for that if any.
class EmptyState : public Gtk::Box {
public:
    EmptyState(const char* symbol, const std::string& title, const std::string& description);

    void setDescription(const std::string& description);
    void setButton(const std::string& label, const char* actionName);
    void hideButton();

private:
    Gtk::Image image_;
    Gtk::Label title_, description_;
    Gtk::Button button_;
};

}   // namespace ostrel
