#include "ui/widgets/WrapBox.h"

#include <algorithm>

namespace ostrel {
namespace {

struct Extent {
    int minimum = 0, natural = 0;
};

Extent extent(const Gtk::Widget& child, Gtk::Orientation orientation, int forSize) {
    Extent found;
    int ignored = 0, alsoIgnored = 0;
    child.measure(orientation, forSize, found.minimum, found.natural, ignored, alsoIgnored);
    return found;
}

}   // namespace

WrapBox::WrapBox(int columnSpacing, int rowSpacing) : columnSpacing_(columnSpacing), rowSpacing_(rowSpacing) {}

WrapBox::~WrapBox() {
    for (Gtk::Widget* child : children_) child->unparent();
}

void WrapBox::append(Gtk::Widget& child) {
    child.set_parent(*this);
    children_.push_back(&child);
}

// Breaks where the widths end, the least of a child that expands and the natural ones of others; a child alone in its
// line takes what it gets.
std::vector<WrapBox::Line> WrapBox::lines(int width) const {
    std::vector<Line> found;
    int used = 0;
    for (Gtk::Widget* child : children_) {
        if (!child->get_visible()) continue;
        Extent wanted = extent(*child, Gtk::Orientation::HORIZONTAL, -1);
        if (child->compute_expand(Gtk::Orientation::HORIZONTAL)) wanted.natural = wanted.minimum;
        if (found.empty() || used + columnSpacing_ + wanted.natural > width) {
            found.push_back({{}, 0});
            used = -columnSpacing_;
        }
        used += columnSpacing_ + wanted.natural;
        Line& line = found.back();
        line.items.push_back({child, wanted.minimum, std::max(wanted.minimum, std::min(wanted.natural, width))});
        line.height = std::max(line.height, extent(*child, Gtk::Orientation::VERTICAL, -1).natural);
    }
    return found;
}

void WrapBox::measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural, int& minimumBaseline,
                            int& naturalBaseline) const {
    minimum = natural = 0;
    minimumBaseline = naturalBaseline = -1;
    if (orientation == Gtk::Orientation::VERTICAL) {
        const auto found = lines(forSize < 0 ? G_MAXINT : forSize);
        for (const Line& line : found) natural += line.height + rowSpacing_;
        natural = std::max(0, natural - rowSpacing_);
        minimum = natural;
        return;
    }
    for (const Line& line : lines(G_MAXINT)) {
        natural = -columnSpacing_;
        for (const Item& item : line.items) {
            minimum = std::max(minimum, item.minimum);
            natural += columnSpacing_ + item.natural;
        }
    }
    natural = std::max(natural, minimum);
}

void WrapBox::size_allocate_vfunc(int width, int, int) {
    const bool isRightToLeft = get_direction() == Gtk::TextDirection::RTL;
    int y = 0;
    for (const Line& line : lines(width)) {
        int left = width + columnSpacing_, expanding = 0;
        for (const Item& item : line.items) {
            left -= columnSpacing_ + item.natural;
            if (item.child->compute_expand(Gtk::Orientation::HORIZONTAL)) ++expanding;
        }
        left = std::max(0, left);
        int x = 0;
        for (const Item& item : line.items) {
            int share = 0;
            if (expanding > 0 && item.child->compute_expand(Gtk::Orientation::HORIZONTAL)) {
                share = left / expanding--;
                left -= share;
            }
            const int itsWidth = item.natural + share;
            const int at = isRightToLeft ? width - x - itsWidth : x;
            item.child->size_allocate(Gtk::Allocation(at, y, itsWidth, line.height), -1);
            x += itsWidth + columnSpacing_;
        }
        y += line.height + rowSpacing_;
    }
}

}   // namespace ostrel
