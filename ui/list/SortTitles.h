#pragma once

#include "core/selection/MessageOrder.h"

#include <functional>
#include <vector>

#include <gtkmm/columnview.h>
#include <gtkmm/columnviewcolumn.h>

namespace ostrel {

// The titles of a table's columns: they show the order and change it, by a click or by keys.
class SortTitles {
public:
    explicit SortTitles(Gtk::ColumnView& view);
    SortTitles(const SortTitles&) = delete;
    SortTitles& operator=(const SortTitles&) = delete;
    ~SortTitles();

    // Makes this column sort, before the view has it.
    void add(const Glib::RefPtr<Gtk::ColumnViewColumn>& column, SortKey key);
    // Once the view has its columns.
    void begin();
    void show(const SortOrder& order);
    // Moves the focus to the title before, or to the last where none has it. False at the first.
    bool moveBack();

    // The order that the user asks for.
    std::function<void(SortOrder)> onSort;

private:
    struct Title {
        SortKey key;
        Glib::RefPtr<Gtk::ColumnViewColumn> column;
        Gtk::Widget* widget = nullptr;
    };
    void clicked();
    void sortBy(SortKey key);

    Gtk::ColumnView& view_;
    std::vector<Title> titles_;
    SortOrder order_;
    bool isShowing_ = false;
};

}   // namespace ostrel
