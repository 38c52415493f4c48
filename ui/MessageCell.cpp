#include "ui/MessageCell.h"

#include "ui/Accessible.h"

#include <algorithm>

#include <gtkmm/settings.h>

namespace ostrel {
namespace {

constexpr int symbolGap = 6;

}   // namespace

int MessageCell::scaled(int pixels) {
    constexpr double usualResolution = 96.0 * 1024, usualPoints = 11;
    const auto settings = Gtk::Settings::get_default();
    const Pango::FontDescription font(settings->property_gtk_font_name().get_value());
    const int resolution = settings->property_gtk_xft_dpi().get_value();
    const double scale = (font.get_size() / static_cast<double>(PANGO_SCALE) / usualPoints) *
                         (resolution > 0 ? resolution / usualResolution : 1.0);
    return static_cast<int>(pixels * std::max(1.0, scale));
}

MessageCell::MessageCell(Width width) : width_(width) {
    set_layout_manager({});   // the functions below lay it out
    append(text_);
    text_.set_text_overflow(Gtk::Inscription::Overflow::ELLIPSIZE_END);
    text_.set_min_lines(1);
    text_.set_nat_lines(1);
    text_.set_xalign(0);
    append(symbol_);
    symbol_.add_css_class("dim-label");
    symbol_.set_visible(false);
}

void MessageCell::setText(const std::string& text) { text_.set_text(text); }

void MessageCell::setSymbol(const char* iconName, const std::string& label) {
    symbol_.set_from_icon_name(iconName);
    accessible::setLabel(symbol_, label);
}

void MessageCell::showSymbol(bool on) { symbol_.set_visible(on); }

void MessageCell::measure_vfunc(Gtk::Orientation orientation, int, int& minimum, int& natural, int& minimumBaseline,
                                int& naturalBaseline) const {
    minimumBaseline = naturalBaseline = -1;
    if (orientation == Gtk::Orientation::VERTICAL) {
        text_.measure(orientation, -1, minimum, natural, minimumBaseline, naturalBaseline);
        return;
    }
    minimum = std::max(scaled(width_.minimum), width_.least);
    natural = std::max(scaled(width_.ideal), minimum);
}

// The symbol follows the text directly where there is room, and keeps its place where there is not.
void MessageCell::size_allocate_vfunc(int width, int height, int baseline) {
    int forText = width;
    if (symbol_.get_visible()) {
        int minimum = 0, symbolWidth = 0, ignored = 0, alsoIgnored = 0;
        symbol_.measure(Gtk::Orientation::HORIZONTAL, -1, minimum, symbolWidth, ignored, alsoIgnored);
        int textWidth = 0, textHeight = 0;
        text_.create_pango_layout(text_.get_text())->get_pixel_size(textWidth, textHeight);
        forText = std::clamp(width - symbolWidth - symbolGap, 0, textWidth + 1);
        const bool isRightToLeft = get_direction() == Gtk::TextDirection::RTL;
        const int at = isRightToLeft ? width - forText - symbolGap - symbolWidth : forText + symbolGap;
        symbol_.size_allocate(Gtk::Allocation(at, 0, symbolWidth, height), -1);
    }
    const int at = get_direction() == Gtk::TextDirection::RTL ? width - forText : 0;
    text_.size_allocate(Gtk::Allocation(at, 0, forText, height), baseline);
}

}   // namespace ostrel
