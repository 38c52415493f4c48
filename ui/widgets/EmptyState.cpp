#include "ui/widgets/EmptyState.h"

#include "ui/widgets/Accessible.h"
#include "ui/widgets/Labels.h"
#include "ui/widgets/Symbols.h"

namespace ostrel {
namespace {

constexpr int spacing = 12, margin = 24, symbolSize = 64, lineCharacters = 50;

}   // namespace

EmptyState::EmptyState(const char* symbol, const std::string& title, const std::string& description)
    : Gtk::Box(Gtk::Orientation::VERTICAL, spacing), title_(title), description_(description) {
    set_valign(Gtk::Align::CENTER);
    set_halign(Gtk::Align::CENTER);
    set_margin(margin);
    image_.set_from_icon_name(symbols::iconName(symbol));
    image_.set_pixel_size(symbolSize);
    image_.add_css_class("dim-label");
    accessible::hide(image_);
    wrapCentered(title_, lineCharacters);
    wrapCentered(description_, lineCharacters);
    title_.add_css_class("title-2");
    description_.add_css_class("dim-label");
    button_.set_halign(Gtk::Align::CENTER);
    append(image_);
    append(title_);
    append(description_);
    append(button_);
    hideButton();
}

void EmptyState::setDescription(const std::string& description) { description_.set_text(description); }

void EmptyState::setButton(const std::string& label, const char* actionName) {
    button_.set_label(label);
    button_.set_action_name(actionName);
    button_.set_visible();
}

void EmptyState::hideButton() { button_.set_visible(false); }

}   // namespace ostrel
