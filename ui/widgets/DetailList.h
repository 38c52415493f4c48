#pragma once

#include <string>
#include <vector>

#include <gtkmm/box.h>
#include <gtkmm/button.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/textview.h>

namespace ostrel {

// Lines that can be read one by one, selected and copied, of which there may be thousands. Not shown without any.
class DetailList : public Gtk::Box {
public:
    DetailList();
    void set(const std::vector<std::string>& lines);

private:
    Gtk::TextView text_;
    Gtk::ScrolledWindow scroller_;
    Gtk::Button copy_;
};

}   // namespace ostrel
