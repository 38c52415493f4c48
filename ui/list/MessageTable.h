#pragma once

#include "app/AppModel.h"
#include "platform/Time.h"
#include "ui/list/MessageCell.h"
#include "ui/list/MessageTableModel.h"
#include "ui/list/SortTitles.h"
#include "ui/list/TypeAhead.h"
#include "ui/widgets/EmptyState.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <gtkmm/columnview.h>
#include <gtkmm/listitem.h>
#include <gtkmm/popovermenu.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/stack.h>

namespace ostrel {

// The messages as a table: one row selected, sorted by a click on a title, found by typing; or a word on why there is
// none.
class MessageTable : public Gtk::Stack {
public:
    explicit MessageTable(AppModel& model);
    ~MessageTable() override;

    // For little room: the subject has the sender and the mailbox below it instead of beside it.
    void setCompact(bool isCompact);
    // The selected row gets the keyboard, else the first.
    void focusList();
    // A message was clicked, or chosen with the Return key.
    std::function<void()> onOpen;

private:
    enum Column { date, from, subject, mailbox };
    struct Place {
        std::size_t row;
        Column column;
        MessageCell* cell;
    };
    struct Cell {
        Column column;
        MessageCell* widget;
    };

    void addColumn(Column column);
    Glib::RefPtr<Gtk::ListItemFactory> factory(Column column);
    void fill(MessageCell& cell, Column column, const MessageSummary& message) const;
    void refresh();
    std::string text(Column column, const MessageSummary& message) const;
    std::string secondLine(const MessageSummary& message) const;
    std::string tooltip(const Place& place) const;
    std::optional<std::size_t> rowOf(GtkListItem* item) const;
    std::optional<Place> placeAt(double x, double y);
    MessageCell* selectedCell();

    void showMessages();
    void showAllLater();
    void showWhyEmpty();

    void scrollTo(std::size_t row, bool focus);
    void focusLater(std::function<Gtk::Widget*()> find);
    void addTypeAhead();
    bool moveOn(bool isBackward);
    void leave(Gtk::Widget& part, bool isBackward);
    void goTo(char32_t character, std::uint32_t when);
    void addOpening();
    void addTooltips();
    void addContextMenu();
    void openMenu(const Gdk::Rectangle& at);

    AppModel& model_;
    Calendar calendar_ = Calendar::current();
    MessageTableModel rows_;
    std::unordered_map<GtkListItem*, Cell> cells_;   // an item tells the row that its cell shows now
    int widestDate_ = 0;
    bool isCompact_ = false;
    std::array<Glib::RefPtr<Gtk::ColumnViewColumn>, 4> columns_;
    int subjectWidth_ = -1;   // beside the other columns
    Gtk::ScrolledWindow scroller_;
    Gtk::ColumnView view_;
    SortTitles titles_{view_};
    Gtk::Widget* list_;   // the part of the view that scrolls
    Gtk::PopoverMenu menu_;
    EmptyState empty_;
    Gtk::Button clear_;
    TypeAhead typeAhead_;
    sigc::connection focusing_;
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
