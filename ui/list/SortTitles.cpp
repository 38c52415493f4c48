#include "ui/list/SortTitles.h"

#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/WidgetTree.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <gtkmm/eventcontrollerkey.h>

namespace ostrel {
namespace {

using i18n::tr;

// The same order with the key first; a key that is first already changes its direction.
SortOrder withFirst(SortOrder order, SortKey key) {
    if (!order.empty() && order.front().key == key) {
        order.front().ascending = !order.front().ascending;
        return order;
    }
    std::erase_if(order, [&](const SortComparator& comparator) { return comparator.key == key; });
    order.insert(order.begin(), SortComparator{key, true});
    return order;
}

// The view's sorters sort nothing, the model does. They make titles clickable, and the view's own, which asks the one
// of the title clicked last first, thereby tells which it was; this toolkit has no other way to ask.
std::optional<SortKey> askedFirst;

GtkSorter* newSorter(SortKey key) {
    const auto compare = [](gconstpointer, gconstpointer, gpointer asked) -> int {
        if (!askedFirst) askedFirst = static_cast<SortKey>(GPOINTER_TO_INT(asked));
        return -1;
    };
    return GTK_SORTER(gtk_custom_sorter_new(compare, GINT_TO_POINTER(static_cast<int>(key)), nullptr));
}

std::optional<SortKey> clickedLast(GtkColumnView* view) {
    GtkSorter* const sorter = gtk_column_view_get_sorter(view);
    askedFirst.reset();
    gtk_sorter_compare(sorter, view, sorter);   // any two objects; of one and the same the toolkit asks nobody
    return askedFirst;
}

}   // namespace

SortTitles::SortTitles(Gtk::ColumnView& view) : view_(view) {
    g_signal_connect_swapped(gtk_column_view_get_sorter(view_.gobj()), "changed",
                             G_CALLBACK(+[](SortTitles* self) { self->clicked(); }), this);
}

SortTitles::~SortTitles() { g_signal_handlers_disconnect_by_data(gtk_column_view_get_sorter(view_.gobj()), this); }

void SortTitles::add(const Glib::RefPtr<Gtk::ColumnViewColumn>& column, SortKey key) {
    GtkSorter* sorter = newSorter(key);
    gtk_column_view_column_set_sorter(column->gobj(), sorter);
    g_object_unref(sorter);
    titles_.push_back({key, column});
}

// The toolkit gives titles no names, and leaves them out of the round of the Tab key.
void SortTitles::begin() {
    Gtk::Widget* header = widgets::childNamed(view_, "header");
    Gtk::Widget* widget = header != nullptr ? header->get_first_child() : nullptr;
    if (header != nullptr) header->set_can_focus();
    const auto columns = view_.get_columns();
    for (guint i = 0; widget != nullptr && i < columns->get_n_items(); ++i, widget = widget->get_next_sibling()) {
        const auto column = std::dynamic_pointer_cast<Gtk::ColumnViewColumn>(columns->get_object(i));
        accessible::setLabel(*widget, column->get_title());
        const auto title = std::find_if(titles_.begin(), titles_.end(),
                                        [&](const Title& candidate) { return candidate.column == column; });
        if (title == titles_.end()) continue;
        title->widget = widget;
        widget->set_focusable();
        const auto keys = Gtk::EventControllerKey::create();
        keys->signal_key_pressed().connect(
            [this, key = title->key](guint pressed, guint, Gdk::ModifierType) {
                const bool isActivating =
                    pressed == GDK_KEY_Return || pressed == GDK_KEY_KP_Enter || pressed == GDK_KEY_space;
                if (isActivating) sortBy(key);
                return isActivating;
            },
            false);
        widget->add_controller(keys);
    }
}

void SortTitles::show(const SortOrder& order) {
    order_ = order;
    isShowing_ = true;
    for (const Title& title : titles_) {
        const bool isFirst = !order.empty() && order.front().key == title.key;
        const bool isAscending = isFirst && order.front().ascending;
        if (isFirst)
            view_.sort_by_column(title.column, isAscending ? Gtk::SortType::ASCENDING : Gtk::SortType::DESCENDING);
        if (title.widget != nullptr)
            accessible::setDescription(*title.widget, !isFirst      ? ""
                                                      : isAscending ? tr("Sorted ascending")
                                                                    : tr("Sorted descending"));
    }
    isShowing_ = false;
}

bool SortTitles::moveBack() {
    Gtk::Widget* before = nullptr;
    for (const Title& title : titles_) {
        if (title.widget == nullptr) continue;
        if (widgets::hasFocus(*title.widget)) return before != nullptr && before->grab_focus();
        before = title.widget;
    }
    return before != nullptr && before->grab_focus();
}

void SortTitles::clicked() {
    if (isShowing_) return;
    if (const auto key = clickedLast(view_.gobj())) sortBy(*key);
}

void SortTitles::sortBy(SortKey key) {
    if (onSort) onSort(withFirst(order_, key));
}

}   // namespace ostrel
