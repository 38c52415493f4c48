#pragma once

#include "app/MessageList.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include <gtk/gtk.h>

namespace ostrel {

// A list of messages as the toolkit's list views take it: a GListModel that is its own GtkSelectionModel, for one
// selected row. Its objects are the rows and not the messages in them: a view keeps its widgets when other messages
// come into the rows, where it would make hundreds anew for other objects, and that takes longer than a keystroke may.
// The toolkit's own selection models would ask for the object of every row at every change.
class MessageTableModel {
public:
    MessageTableModel();
    MessageTableModel(const MessageTableModel&) = delete;
    MessageTableModel& operator=(const MessageTableModel&) = delete;
    ~MessageTableModel();   // the object may live on, empty

    GtkSelectionModel* object() const { return object_; }
    const MessageList& messages() const;
    std::optional<std::size_t> selectedRow() const;

    // The new list in place of the old: first onRefresh, then the signals on rows at the end that came or went and on
    // the selection. selected: MessageSummary::id, which need not be in it. Making and dropping widgets takes views
    // long: when a long list follows a short one, they hear of its first rows only until showAll is called, and of an
    // empty list not at all; they are not to be seen then.
    void setMessages(MessageList messages, const std::optional<std::string>& selected);
    void showAll();
    bool isAllShown() const;
    static constexpr std::size_t firstRows = 60;   // more than fit on most screens; views make 205 rows' widgets
    void setSelection(const std::optional<std::string>& selected);

    // Rows that stay show other messages now; rows beyond the end of the list are about to go.
    std::function<void()> onRefresh;
    // The view asks to select that row. The selection changes when setSelection says so, and not before.
    std::function<void(std::size_t row)> onSelect;

    class State;

private:
    void setShown(std::size_t rows);
    void tellSelection(std::optional<std::size_t> old);
    GtkSelectionModel* object_;
    State* state_;   // owned by the object
};

}   // namespace ostrel
