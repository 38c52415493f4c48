#pragma once

#include "app/MessageList.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include <gtk/gtk.h>

namespace ostrel {

// A list of messages as the toolkit's list views take it: a GListModel that is its own GtkSelectionModel, for one
// selected row. The toolkit's selection models would ask for an object of every row at every change; here only rows
// that somebody holds have one, and the same message has the same object as long as it is held.
class MessageTableModel {
public:
    MessageTableModel();
    MessageTableModel(const MessageTableModel&) = delete;
    MessageTableModel& operator=(const MessageTableModel&) = delete;
    ~MessageTableModel();   // the object may live on, empty

    GtkSelectionModel* object() const { return object_; }
    const MessageList& messages() const;
    std::optional<std::size_t> selectedRow() const;

    // The new list in place of the old, told by one signal. selected: MessageSummary::id, which need not be in it.
    void setMessages(MessageList messages, const std::optional<std::string>& selected);
    void setSelection(const std::optional<std::string>& selected);

    // The view asks to select that row. The selection changes when setSelection says so, and not before.
    std::function<void(std::size_t row)> onSelect;

    class State;

private:
    void moveSelection(std::optional<std::size_t> row);
    GtkSelectionModel* object_;
    State* state_;   // owned by the object
};

}   // namespace ostrel
