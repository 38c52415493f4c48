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

constexpr int symbolGap = 6;

int lineHeight(const Pango::FontMetrics& metrics) { return PANGO_PIXELS(metrics.get_ascent() + metrics.get_descent()); }

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
    accessible::setLabel(*this, text);
    if (isSymbolShown()) queue_allocate();   // it stands behind the text
    queue_draw();
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

void MessageCell::measure_vfunc(Gtk::Orientation orientation, int, int& minimum, int& natural, int& minimumBaseline,
                                int& naturalBaseline) const {
    minimumBaseline = naturalBaseline = -1;
    if (orientation == Gtk::Orientation::VERTICAL) {
        // Latin letters are taller than those of some languages, and stand in every list.
        const auto context = text_->get_context();
        const auto font = context->get_font_description();
        minimum = natural = std::max(lineHeight(context->get_metrics(font, context->get_language())),
                                     lineHeight(context->get_metrics(font, Pango::Language("en"))));
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
        symbol_->size_allocate(Gtk::Allocation(at, 0, symbolWidth, height), -1);
    }
    text_->set_width(forText * PANGO_SCALE);
}

// Text begins where the column begins, whatever the direction of its own letters.
void MessageCell::snapshot_vfunc(const Glib::RefPtr<Gtk::Snapshot>& snapshot) {
    Pango::Rectangle drawn, line;
    text_->get_pixel_extents(drawn, line);
    const bool isRightToLeft = get_direction() == Gtk::TextDirection::RTL;
    const int x = isRightToLeft ? get_width() - line.get_width() : 0, y = (get_height() - line.get_height()) / 2;
    snapshot->render_layout(get_style_context(), x - line.get_x(), y, text_);
    if (isSymbolShown()) snapshot_child(*symbol_, snapshot);
}

}   // namespace ostrel
