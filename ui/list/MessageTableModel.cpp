#include "ui/list/MessageTableModel.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace ostrel {

// ---- A row that somebody holds ----

namespace {

struct Row {
    GObject parent;
    MessageTableModel::State* owner;   // null once the list has forgotten this row
    std::size_t number;
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
    std::size_t shown = 0;   // rows that views know of
    std::optional<std::size_t> selected;

    ~State() { forgetRows(0); }

    // A new reference to the object of that row; the same as long as somebody holds it.
    Row* row(std::size_t number) {
        Row*& live = live_[number];
        if (live != nullptr) return static_cast<Row*>(g_object_ref(live));
        live = static_cast<Row*>(g_object_new(rowType(), nullptr));
        live->owner = this;
        live->number = number;
        return live;
    }
    // A row that goes and comes again is another one.
    void forgetRows(std::size_t first) {
        std::erase_if(live_, [first](const auto& live) {
            if (live.first >= first) live.second->owner = nullptr;
            return live.first >= first;
        });
    }
    void gone(const Row& row) { live_.erase(row.number); }

private:
    std::unordered_map<std::size_t, Row*> live_;   // not owned
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
    return row < state.shown ? state.row(row) : nullptr;
}

void listInterface(gpointer interface, gpointer) {
    auto* list = static_cast<GListModelInterface*>(interface);
    list->get_item_type = [](GListModel*) { return rowType(); };
    list->get_n_items = [](GListModel* model) { return static_cast<guint>(stateOf(model).shown); };
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
    onRefresh = nullptr;
    setMessages({}, std::nullopt);
    setShown(0);
    state_->model = nullptr;
    g_object_unref(object_);
}

const MessageList& MessageTableModel::messages() const { return state_->messages; }
std::optional<std::size_t> MessageTableModel::selectedRow() const { return state_->selected; }

void MessageTableModel::setMessages(MessageList messages, const std::optional<std::string>& selected) {
    const std::size_t now = messages.size();
    state_->messages = std::move(messages);
    if (onRefresh) onRefresh();
    const auto old = std::exchange(state_->selected, selected ? state_->messages.find(*selected) : std::nullopt);
    if (now == 0) return tellSelection(old);
    setShown(state_->shown < firstRows ? std::min(now, firstRows) : now);
    tellSelection(old && *old < now ? old : std::nullopt);
}

void MessageTableModel::showAll() {
    if (!state_->messages.empty()) setShown(state_->messages.size());
}

bool MessageTableModel::isAllShown() const { return state_->shown >= state_->messages.size(); }

void MessageTableModel::setShown(std::size_t rows) {
    const std::size_t before = std::exchange(state_->shown, rows), common = std::min(before, rows);
    if (before == rows) return;
    state_->forgetRows(common);
    g_list_model_items_changed(G_LIST_MODEL(object_), static_cast<guint>(common), static_cast<guint>(before - common),
                               static_cast<guint>(rows - common));
}

void MessageTableModel::setSelection(const std::optional<std::string>& selected) {
    const auto row = selected ? state_->messages.find(*selected) : std::nullopt;
    tellSelection(std::exchange(state_->selected, row));
}

void MessageTableModel::tellSelection(std::optional<std::size_t> old) {
    const std::optional<std::size_t> row = state_->selected;
    if (old == row) return;
    // Of rows that views do not know of yet they ask when they hear of them.
    if ((old && *old >= state_->shown) || (row && *row >= state_->shown)) showAll();
    const auto [first, last] = std::minmax({old ? *old : *row, row ? *row : *old});
    gtk_selection_model_selection_changed(object_, static_cast<guint>(first), static_cast<guint>(last - first + 1));
}

}   // namespace ostrel
