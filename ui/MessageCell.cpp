#include "ui/MessageCell.h"

#include "ui/Accessible.h"
#include "ui/TextScale.h"

#include <algorithm>

namespace ostrel {
namespace {

constexpr int symbolGap = 6;

}   // namespace

MessageCell::MessageCell(Width width) : width_(width) {
    set_text_overflow(Gtk::Inscription::Overflow::ELLIPSIZE_END);
    set_min_lines(1);
    set_nat_lines(1);
    set_xalign(0);
    set_overflow(Gtk::Overflow::VISIBLE);   // letters of some scripts reach into the padding
    signal_destroy().connect([this] {
        if (symbol_) symbol_->unparent();
    });
}

void MessageCell::setText(const std::string& text) {
    set_text(text);
    if (symbol_ && symbol_->get_visible()) queue_allocate();   // it stands behind the text
}

void MessageCell::showSymbol(const char* iconName, const std::string& label) {
    if (!symbol_) {
        symbol_.emplace();
        symbol_->set_from_icon_name(iconName);
        symbol_->add_css_class("dim-label");
        accessible::setLabel(*symbol_, label);
        symbol_->set_parent(*this);
    }
    symbol_->set_visible(true);
}

void MessageCell::hideSymbol() {
    if (symbol_) symbol_->set_visible(false);
}

void MessageCell::measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                                int& minimumBaseline, int& naturalBaseline) const {
    if (orientation == Gtk::Orientation::VERTICAL) {
        Gtk::Inscription::measure_vfunc(orientation, forSize, minimum, natural, minimumBaseline, naturalBaseline);
        return;
    }
    minimumBaseline = naturalBaseline = -1;
    minimum = std::max(textScale::scaled(width_.minimum), width_.least);
    natural = std::max(textScale::scaled(width_.ideal), minimum);
}

// The symbol follows the text directly where there is room, and keeps its place where there is not.
void MessageCell::size_allocate_vfunc(int width, int height, int baseline) {
    int forText = width;
    if (symbol_ && symbol_->get_visible()) {
        int minimum = 0, symbolWidth = 0, ignored = 0, alsoIgnored = 0;
        symbol_->measure(Gtk::Orientation::HORIZONTAL, -1, minimum, symbolWidth, ignored, alsoIgnored);
        int textWidth = 0, textHeight = 0;
        create_pango_layout(get_text())->get_pixel_size(textWidth, textHeight);
        forText = std::clamp(width - symbolWidth - symbolGap, 0, textWidth + 1);
        const bool isRightToLeft = get_direction() == Gtk::TextDirection::RTL;
        const int at = isRightToLeft ? width - forText - symbolGap - symbolWidth : forText + symbolGap;
        symbol_->size_allocate(Gtk::Allocation(at, 0, symbolWidth, height), -1);
    }
    Gtk::Inscription::size_allocate_vfunc(forText, height, baseline);
}

}   // namespace ostrel
