#include "ui/widgets/Headline.h"

#include "ui/widgets/Accessible.h"
#include "ui/widgets/Labels.h"
#include "ui/widgets/Symbols.h"

namespace ostrel {

Headline::Headline(const char* symbol, const std::string& text, int symbolSize)
    : Gtk::Box(Gtk::Orientation::HORIZONTAL, 9) {
    accessible::hide(image_);
    image_.set_pixel_size(symbolSize);
    image_.set_valign(Gtk::Align::CENTER);
    accessible::hide(strut_);
    mark_.append(strut_);
    mark_.append(image_);
    mark_.set_valign(Gtk::Align::START);
    wrapFromLeft(label_);
    label_.set_hexpand();
    append(mark_);
    append(label_);
    set(symbol, text);
}

void Headline::set(const char* symbol, const std::string& text) {
    image_.set_from_icon_name(symbols::iconName(symbol));
    label_.set_text(text);
}

}   // namespace ostrel
