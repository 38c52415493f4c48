#include "ui/MessageTableModel.h"

#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <utility>

namespace ostrel {

// ---- A row that somebody holds ----

namespace {

struct Row {
    GObject parent;
    MessageTableModel::State* owner;   // null once the list has forgotten this row
    std::uint32_t position;            // of the message in its index
};
struct RowClass {
    GObjectClass parent;
};
GType rowType();

}   // namespace

class MessageTableModel::State {
public:
    MessageTableModel* model = nullptr;
    MessageList messages;
    std::optional<std::size_t> selected;

    ~State() { forgetRows(); }

    // A new reference to the object of that row.
    Row* row(std::size_t number) {
        const std::uint32_t position = messages.position(number);
        keepSpareIfHeld();
        if (const auto found = live_.find(position); found != live_.end())
            return static_cast<Row*>(g_object_ref(found->second));
        if (spare_ == nullptr) spare_ = static_cast<Row*>(g_object_new(rowType(), nullptr));
        spare_->position = position;
        return static_cast<Row*>(g_object_ref(spare_));
    }
    void forgetRows() {
        for (const auto& [position, row] : live_) row->owner = nullptr;
        live_.clear();
        if (spare_ != nullptr) g_object_unref(spare_);
        spare_ = nullptr;
    }
    void gone(const Row& row) { live_.erase(row.position); }

private:
    // Views that look for a row they show ask for the object of every row and drop most at once. Such an object serves
    // again for the next row: 300,000 of them would take longer than a keystroke may.
    void keepSpareIfHeld() {
        if (spare_ == nullptr || g_atomic_int_get(&spare_->parent.ref_count) == 1) return;
        spare_->owner = this;
        live_.emplace(spare_->position, spare_);
        g_object_unref(spare_);
        spare_ = nullptr;
    }

    std::unordered_map<std::uint32_t, Row*> live_;   // by position in the index; not owned
    Row* spare_ = nullptr;                           // owned; in no other hands unless it was just given away
};

namespace {

void finalizeRow(GObject* object) {
    const auto* row = reinterpret_cast<Row*>(object);
    if (row->owner != nullptr) row->owner->gone(*row);
    static_cast<GObjectClass*>(g_type_class_peek(G_TYPE_OBJECT))->finalize(object);
}

GType rowType() {
    static const GType type = g_type_register_static_simple(
        G_TYPE_OBJECT, "OstrelMessageRow", sizeof(RowClass),
        [](gpointer itsClass, gpointer) { static_cast<GObjectClass*>(itsClass)->finalize = finalizeRow; }, sizeof(Row),
        nullptr, GTypeFlags{});
    return type;
}

// ---- The list object ----

struct List {
    GObject parent;
    MessageTableModel::State* state;
};
struct ListClass {
    GObjectClass parent;
};

MessageTableModel::State& stateOf(gpointer object) { return *static_cast<List*>(object)->state; }

void finalizeList(GObject* object) {
    delete &stateOf(object);
    static_cast<GObjectClass*>(g_type_class_peek(G_TYPE_OBJECT))->finalize(object);
}

gpointer itemOf(GListModel* list, guint row) {
    MessageTableModel::State& state = stateOf(list);
    return row < state.messages.size() ? state.row(row) : nullptr;
}

void listInterface(gpointer interface, gpointer) {
    auto* list = static_cast<GListModelInterface*>(interface);
    list->get_item_type = [](GListModel*) { return rowType(); };
    list->get_n_items = [](GListModel* model) { return static_cast<guint>(stateOf(model).messages.size()); };
    list->get_item = itemOf;
}

gboolean selectRow(GtkSelectionModel* list, guint row, gboolean) {
    const MessageTableModel::State& state = stateOf(list);
    if (row >= state.messages.size() || state.model == nullptr) return FALSE;
    if (state.selected != row && state.model->onSelect) state.model->onSelect(row);
    return TRUE;
}

// Nothing is ever unselected by the view: a row and the cell in it both answer a click with Control held, and would
// undo each other's work.
void selectionInterface(gpointer interface, gpointer) {
    auto* selection = static_cast<GtkSelectionModelInterface*>(interface);
    selection->is_selected = [](GtkSelectionModel* model, guint row) -> gboolean {
        return stateOf(model).selected == row;
    };
    selection->get_selection_in_range = [](GtkSelectionModel* model, guint, guint) {
        GtkBitset* rows = gtk_bitset_new_empty();
        if (const auto row = stateOf(model).selected) gtk_bitset_add(rows, static_cast<guint>(*row));
        return rows;
    };
    selection->select_item = selectRow;
}

GType listType() {
    static const GType type = [] {
        const GType registered = g_type_register_static_simple(
            G_TYPE_OBJECT, "OstrelMessageList", sizeof(ListClass),
            [](gpointer itsClass, gpointer) { static_cast<GObjectClass*>(itsClass)->finalize = finalizeList; },
            sizeof(List),
            [](GTypeInstance* instance, gpointer) {
                reinterpret_cast<List*>(instance)->state = new MessageTableModel::State;
            },
            GTypeFlags{});
        const GInterfaceInfo list{listInterface, nullptr, nullptr};
        const GInterfaceInfo selection{selectionInterface, nullptr, nullptr};
        g_type_add_interface_static(registered, G_TYPE_LIST_MODEL, &list);
        g_type_add_interface_static(registered, GTK_TYPE_SELECTION_MODEL, &selection);
        return registered;
    }();
    return type;
}

}   // namespace

MessageTableModel::MessageTableModel()
    : object_(GTK_SELECTION_MODEL(g_object_new(listType(), nullptr))), state_(&stateOf(object_)) {
    state_->model = this;
}

MessageTableModel::~MessageTableModel() {
    setMessages({}, std::nullopt);
    state_->model = nullptr;
    g_object_unref(object_);
}

const MessageList& MessageTableModel::messages() const { return state_->messages; }
std::optional<std::size_t> MessageTableModel::selectedRow() const { return state_->selected; }

void MessageTableModel::setMessages(MessageList messages, const std::optional<std::string>& selected) {
    const MessageList old = std::exchange(state_->messages, std::move(messages));   // kept until views have let go
    if (old.index() != state_->messages.index()) state_->forgetRows();
    state_->selected = selected ? state_->messages.find(*selected) : std::nullopt;
    g_list_model_items_changed(G_LIST_MODEL(object_), 0, static_cast<guint>(old.size()),
                               static_cast<guint>(state_->messages.size()));
}

void MessageTableModel::setSelection(const std::optional<std::string>& selected) {
    moveSelection(selected ? state_->messages.find(*selected) : std::nullopt);
}

void MessageTableModel::moveSelection(std::optional<std::size_t> row) {
    const std::optional<std::size_t> old = std::exchange(state_->selected, row);
    if (old == row) return;
    const auto [first, last] = std::minmax({old ? *old : *row, row ? *row : *old});
    gtk_selection_model_selection_changed(object_, static_cast<guint>(first), static_cast<guint>(last - first + 1));
}

}   // namespace ostrel
