#include "ui/sheets/Alert.h"

#include "ui/widgets/Accessible.h"
#include "ui/widgets/Labels.h"

namespace ostrel {
namespace {

constexpr int lineCharacters = 60;

}   // namespace

Alert::Alert(Gtk::Window* parent, const std::string& title, const std::string& text)
    : Gtk::MessageDialog(title, false, Gtk::MessageType::OTHER, Gtk::ButtonsType::NONE, true) {
    set_title(title);
    set_secondary_text(text);
    set_titlebar(edge_);   // the title is in the text
    for (Gtk::Widget* line = get_message_area()->get_first_child(); line != nullptr; line = line->get_next_sibling())
        if (auto* label = dynamic_cast<Gtk::Label*>(line)) wrapCentered(*label, lineCharacters);
    if (parent != nullptr) set_transient_for(*parent);
}

Gtk::Button& Alert::addAnswer(const std::string& text, int response) {
    Gtk::Button& answer = *add_button(text, response);
    accessible::setLabel(answer, text);
    return answer;
}

}   // namespace ostrel
