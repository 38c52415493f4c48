#pragma once

#include <string>
#include <vector>

#include <gtkmm/widget.h>

// Lists of preferences as the desktop draws them. What is made belongs to the widget it is added to.
namespace ostrel::preferences {

enum class Click { activatesControl, doesNothing };   // on the row

// A title with a control at its end, which has the focus.
Gtk::Widget& makeRow(const std::string& title, Gtk::Widget& control, Click click);
// A title with a symbol before it.
Gtk::Widget& makeLine(const char* symbol, const std::string& title);
// The rows below a title, with other widgets below them; empty texts are left out.
Gtk::Widget& makeGroup(const std::string& title, const std::string& description, const std::vector<Gtk::Widget*>& rows);
// The groups one below the other, in lines of a good length; it scrolls.
Gtk::Widget& makePage(const std::vector<Gtk::Widget*>& groups);

}   // namespace ostrel::preferences
