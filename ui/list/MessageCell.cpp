#include "ui/list/MessageCell.h"

#include "ui/widgets/Accessible.h"
#include "ui/widgets/TextScale.h"

#include <algorithm>

#include <gtkmm/snapshot.h>
#include <pangomm/attrlist.h>
#include <pangomm/context.h>
#include <pangomm/fontmetrics.h>

namespace ostrel {
namespace {

constexpr int symbolGap = 6, lineGap = 2;
constexpr double secondLineOpacity = 0.75;   // as dim text has it

int heightOf(const Pango::FontMetrics& metrics) { return PANGO_PIXELS(metrics.get_ascent() + metrics.get_descent()); }

}   // namespace

MessageCell::MessageCell(Width width) : width_(width), text_(create_pango_layout({})) {
    accessible::setRole(*this, GTK_ACCESSIBLE_ROLE_LABEL);
    text_->set_ellipsize(Pango::EllipsizeMode::END);
    text_->set_single_paragraph_mode(true);
    signal_destroy().connect([this] {
        if (symbol_) symbol_->unparent();
    });
}

void MessageCell::setText(const std::string& text) {
    text_->set_text(text);
    tell();
    if (isSymbolShown()) queue_allocate();   // it stands behind the text
    queue_draw();
}

void MessageCell::setSecondLine(const std::optional<std::string>& text) {
    if (text.has_value() != static_cast<bool>(second_)) {
        second_ = text ? create_pango_layout({}) : nullptr;
        if (second_) {
            second_->set_ellipsize(Pango::EllipsizeMode::END);
            second_->set_single_paragraph_mode(true);
            second_->set_width(get_width() * PANGO_SCALE);
        }
        queue_resize();
    }
    if (second_) second_->set_text(*text);
    tell();
    queue_draw();
}

void MessageCell::tell() {
    const std::string below = second_ ? second_->get_text().raw() : "";
    accessible::setLabel(*this, text_->get_text().raw() + (below.empty() ? "" : ", " + below));
}

void MessageCell::setDigitsOfEqualWidth() {
    Pango::AttrList attributes;
    auto features = Pango::Attribute::create_attr_font_features("tnum=1");
    attributes.insert(features);
    text_->set_attributes(attributes);
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
    if (isSymbolShown()) symbol_->set_visible(false);
}

// Latin letters are taller than those of some languages, and stand in every list.
int MessageCell::lineHeight() const {
    const auto context = text_->get_context();
    const auto font = context->get_font_description();
    return std::max(heightOf(context->get_metrics(font, context->get_language())),
                    heightOf(context->get_metrics(font, Pango::Language("en"))));
}

void MessageCell::measure_vfunc(Gtk::Orientation orientation, int, int& minimum, int& natural, int& minimumBaseline,
                                int& naturalBaseline) const {
    minimumBaseline = naturalBaseline = -1;
    if (orientation == Gtk::Orientation::VERTICAL) {
        minimum = natural = second_ ? 2 * lineHeight() + lineGap : lineHeight();
        return;
    }
    minimum = std::max(textScale::scaled(width_.minimum), width_.least);
    natural = std::max(textScale::scaled(width_.ideal), minimum);
}

// The symbol follows the text directly where there is room, and keeps its place where there is not.
void MessageCell::size_allocate_vfunc(int width, int height, int) {
    int forText = width;
    if (isSymbolShown()) {
        int minimum = 0, symbolWidth = 0, ignored = 0, alsoIgnored = 0, textWidth = 0, textHeight = 0;
        symbol_->measure(Gtk::Orientation::HORIZONTAL, -1, minimum, symbolWidth, ignored, alsoIgnored);
        text_->set_width(-1);
        text_->get_pixel_size(textWidth, textHeight);
        forText = std::clamp(width - symbolWidth - symbolGap, 0, textWidth + 1);
        const bool isRightToLeft = get_direction() == Gtk::TextDirection::RTL;
        const int at = isRightToLeft ? width - forText - symbolGap - symbolWidth : forText + symbolGap;
        symbol_->size_allocate(Gtk::Allocation(at, 0, symbolWidth, second_ ? lineHeight() : height), -1);
    }
    text_->set_width(forText * PANGO_SCALE);
    if (second_) second_->set_width(width * PANGO_SCALE);
}

// Text begins where the column begins, whatever the direction of its own letters.
void MessageCell::draw(const Glib::RefPtr<Gtk::Snapshot>& snapshot, const Glib::RefPtr<Pango::Layout>& text, int y,
                       int height) {
    Pango::Rectangle drawn, line;
    text->get_pixel_extents(drawn, line);
    const bool isRightToLeft = get_direction() == Gtk::TextDirection::RTL;
    const int x = isRightToLeft ? get_width() - line.get_width() : 0;
    snapshot->render_layout(get_style_context(), x - line.get_x(), y + (height - line.get_height()) / 2, text);
}

void MessageCell::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    const int first = second_ ? lineHeight() : get_height();
    draw(snapshot, text_, 0, first);
    if (second_) {
        snapshot->push_opacity(secondLineOpacity);
        draw(snapshot, second_, first + lineGap, first);
        snapshot->pop();
    }
    if (isSymbolShown()) snapshot_child(*symbol_, snapshot);
}

}   // namespace ostrel
