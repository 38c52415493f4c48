#include "ui/widgets/SplitView.h"

#include "ui/widgets/WidgetTree.h"

#include <algorithm>

namespace ostrel {

SplitView::SplitView(Width width) : wanted_(width.ideal), maximum_(width.maximum) {
    set_resize_start_child(false);
    set_shrink_start_child(false);
    set_shrink_end_child(false);
    set_position(wanted_);
    property_position().signal_changed().connect([this] { positionChanged(); });
}

void SplitView::leaveSecond(int width) {
    forSecond_ = width;
    allocated_ = 0;   // as if it were new
    queue_resize();
}

void SplitView::setColumns(Gtk::Widget& first, Gtk::Widget& second) {
    set_start_child(first);
    set_end_child(second);
}

// A handle that gave way to a narrow window comes back when the window grows.
void SplitView::size_allocate_vfunc(int width, int height, int baseline) {
    isAllocating_ = true;
    if (width != allocated_) {
        const int room = std::max(1, width - forSecond_);   // not below the least
        set_position(std::min(wanted_ + shareOf(width), room));
    }
    allocated_ = width;
    Gtk::Paned::size_allocate_vfunc(width, height, baseline);
    if (!get_start_child()->get_visible() || !get_end_child()->get_visible()) removeHandle();
    isAllocating_ = false;
}

// Of a column that is hidden the handle is hidden too, but takes the clicks where it was: it goes out of the way.
void SplitView::removeHandle() {
    constexpr int away = -1000, size = 100;
    if (Gtk::Widget* handle = widgets::childNamed(*this, "separator"))
        handle->size_allocate(Gtk::Allocation(away, away, size, size), -1);
}

void SplitView::positionChanged() {
    if (isAllocating_) return;
    if (maximum_ > 0 && get_position() > maximum_) {
        set_position(maximum_);
        return;
    }
    wanted_ = get_position() - shareOf(allocated_);
}

int SplitView::shareOf(int width) const { return sharedFrom_ > 0 ? std::max(0, width - sharedFrom_) / 2 : 0; }

}   // namespace ostrel
