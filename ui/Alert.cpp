#include "ui/Alert.h"

#include <gtkmm/label.h>

namespace ostrel {

Alert::Alert(Gtk::Window* parent, const std::string& title, const std::string& text)
    : Gtk::MessageDialog(title, false, Gtk::MessageType::OTHER, Gtk::ButtonsType::NONE, true) {
    set_title(title);
    set_secondary_text(text);
    set_titlebar(edge_);   // the title is in the text
    for (Gtk::Widget* line = get_message_area()->get_first_child(); line != nullptr; line = line->get_next_sibling())
        if (auto* label = dynamic_cast<Gtk::Label*>(line)) {
            label->set_justify(Gtk::Justification::CENTER);
            label->set_xalign(0.5);
        }
    if (parent != nullptr) set_transient_for(*parent);
}

}   // namespace ostrel
