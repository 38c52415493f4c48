#pragma once

#include <string>

#include <gtkmm/box.h>
#include <gtkmm/button.h>

typedef struct _AdwStatusPage AdwStatusPage;

namespace ostrel {

// What stands where there is nothing to show: a symbol, a title, what to do about it, and buttons for that if any.
class EmptyState : public Gtk::Box {
public:
    EmptyState(const char* symbol, const std::string& title, const std::string& description);

    void setTitle(const std::string& title);
    void setDescription(const std::string& description);
    // Below the description and the buttons before it. The button stays the caller's.
    void addButton(Gtk::Button& button);
    void add(Gtk::Widget& widget) { buttons_.append(widget); }

private:
    AdwStatusPage* page_;   // owned by the box
    Gtk::Box buttons_;
};

}   // namespace ostrel
