#include "ui/list/MessageTable.h"

#include "core/message/MailMessage.h"
#include "platform/LocaleFormat.h"
#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Symbols.h"
#include "ui/widgets/TextScale.h"
#include "ui/widgets/WidgetTree.h"

#include <algorithm>
#include <utility>

#include <giomm/menu.h>
#include <glibmm/main.h>
#include <gtkmm/eventcontrollerkey.h>
#include <gtkmm/gestureclick.h>
#include <gtkmm/root.h>
#include <gtkmm/shortcut.h>
#include <gtkmm/shortcutcontroller.h>
#include <gtkmm/signallistitemfactory.h>
#include <gtkmm/tooltip.h>

namespace ostrel {
namespace {

using i18n::tr;

// In points; at the usual text size a point is a pixel. The most is 0 where there is no limit.
struct Layout {
    const char* title;
    int minimum, ideal, maximum;
    std::optional<SortKey> sortsBy;
};
constexpr Layout layouts[] = {
    {"Date", 92, 108, 140, SortKey::date},
    {"From", 90, 150, 0, SortKey::from},
    {"Subject", 140, 260, 0, SortKey::subject},
    {"Mailbox", 60, 90, 0, std::nullopt},
};
// With a scroll bar beside them all columns at their least are a little wider than the list at its least.
constexpr int slack = 10;
constexpr int cellPadding = 12;   // both sides together, as in the style sheet

// In pixels. A date that is cut off says nothing.
int widestDate(Gtk::Widget& widget, const Calendar& calendar) {
    int widest = 0;
    for (int month = 1; month <= 12; ++month) {
        const auto layout = widget.create_pango_layout(locale::date(calendar.startOfDay({2024, month, 28}), calendar));
        int width = 0, height = 0;
        layout->get_pixel_size(width, height);
        widest = std::max(widest, width + 2);   // digits of equal width take a little more
    }
    return widest;
}

}   // namespace

MessageTable::MessageTable(AppModel& model)
    : model_(model),
      list_(widgets::childNamed(view_, "listview")),
      empty_("line.3.horizontal.decrease.circle", tr("No Matching Messages"),
             tr("Check more mailboxes on the left, or clear the filters.")) {
    view_.add_css_class("messages");
    accessible::setLabel(view_, tr("Messages"));
    widestDate_ = widestDate(view_, calendar_);
    for (const Column column : {date, from, subject, mailbox}) addColumn(column);
    gtk_column_view_set_model(view_.gobj(), rows_.object());
    rows_.onRefresh = [this] { refresh(); };
    rows_.onSelect = [this](std::size_t row) { model_.selection.set(rows_.messages()[row].id()); };
    scroller_.set_child(view_);
    set_vexpand();   // also while the list is hidden, or what stands below it would move up
    add(scroller_);
    clear_.set_label(tr("Clear Filters"));
    clear_.set_action_name("app.clear-filters");
    empty_.addButton(clear_);
    add(empty_);
    set_hhomogeneous(false);
    set_vhomogeneous(false);

    titles_.begin();
    titles_.onSort = [this](SortOrder order) { model_.sortOrder.set(std::move(order)); };
    addOpening();
    addTooltips();
    addContextMenu();
    addTypeAhead();
    subscriptions_.push_back(model_.messages.observe([this] { showMessages(); }));
    subscriptions_.push_back(model_.filter.observe([this] { showWhyEmpty(); }));
    subscriptions_.push_back(model_.sortOrder.observe([this] { titles_.show(model_.sortOrder.get()); }));
    subscriptions_.push_back(model_.selection.observe([this] { rows_.setSelection(model_.selection.get()); }));
    showMessages();
    titles_.show(model_.sortOrder.get());
}

MessageTable::~MessageTable() {
    focusing_.disconnect();
    menu_.unparent();
    gtk_column_view_set_model(view_.gobj(), nullptr);
}

// ---- Columns and cells ----

void MessageTable::addColumn(Column column) {
    const Layout& layout = layouts[column];
    const auto made = Gtk::ColumnViewColumn::create(tr(layout.title), factory(column));
    made->set_resizable();
    made->set_expand(column != date);   // they share what a wide window has more
    if (layout.sortsBy) titles_.add(made, *layout.sortsBy);
    // Dragging knows no limits of its own.
    made->property_fixed_width().signal_changed().connect([layout, column = made.get()] {
        const int width = column->get_fixed_width();
        if (width < 0) return;
        const int most = layout.maximum > 0 ? layout.maximum : width;
        const int allowed = std::max(std::min(width, textScale::scaled(most)), textScale::scaled(layout.minimum));
        if (allowed != width) column->set_fixed_width(allowed);
    });
    view_.append_column(made);
    columns_[column] = made;
}

void MessageTable::setCompact(bool isCompact) {
    if (std::exchange(isCompact_, isCompact) == isCompact) return;
    const auto& subjects = columns_[subject];
    if (isCompact) subjectWidth_ = subjects->get_fixed_width();
    subjects->set_fixed_width(isCompact ? -1 : subjectWidth_);
    for (const Column column : {from, mailbox}) columns_[column]->set_visible(!isCompact);
    refresh();
    for (const auto& [item, cell] : cells_)
        if (cell.column == subject && !isCompact) cell.widget->setSecondLine(std::nullopt);
    if (const auto selected = rows_.selectedRow()) scrollTo(*selected, false);
}

Glib::RefPtr<Gtk::ListItemFactory> MessageTable::factory(Column column) {
    const auto made = Gtk::SignalListItemFactory::create();
    made->signal_setup().connect([this, column](const Glib::RefPtr<Gtk::ListItem>& item) {
        const Layout& layout = layouts[column];
        auto* cell = Gtk::make_managed<MessageCell>(MessageCell::Width{
            layout.minimum - cellPadding - slack, layout.ideal - cellPadding, column == date ? widestDate_ : 0});
        if (column == date) cell->setDigitsOfEqualWidth();
        if (column == mailbox) cell->add_css_class("dim-label");
        item->set_child(*cell);
        cells_[item->gobj()] = {column, cell};
    });
    made->signal_bind().connect([this, column](const Glib::RefPtr<Gtk::ListItem>& item) {
        const auto row = rowOf(item->gobj());
        if (row) fill(static_cast<MessageCell&>(*item->get_child()), column, rows_.messages()[*row]);
    });
    made->signal_teardown().connect([this](const Glib::RefPtr<Gtk::ListItem>& item) { cells_.erase(item->gobj()); });
    return made;
}

void MessageTable::fill(MessageCell& cell, Column column, const MessageSummary& message) const {
    cell.setText(text(column, message));
    if (column != subject) return;
    if (isCompact_) cell.setSecondLine(secondLine(message));
    if (message.hasAttachments) {
        cell.showSymbol(symbols::iconName("paperclip"), tr("Has attachments"));
    } else {
        cell.hideSymbol();
    }
}

// The rows that the view has widgets for.
void MessageTable::refresh() {
    for (const auto& [item, cell] : cells_)
        if (const auto row = rowOf(item)) fill(*cell.widget, cell.column, rows_.messages()[*row]);
}

std::string MessageTable::text(Column column, const MessageSummary& message) const {
    switch (column) {
        case date:
            return locale::date(message.date, calendar_);
        case from:
            return message.fromLine();
        case subject:
            return message.subject.empty() ? tr("(No subject)") : message.subject;
        default:
            return model_.mailboxName(message.mailboxID);
    }
}

std::string MessageTable::secondLine(const MessageSummary& message) const {
    const std::string sender = text(from, message), place = text(mailbox, message);
    return sender.empty() || place.empty() ? sender + place : i18n::filled(tr("%@ · %@"), sender, place);
}

std::string MessageTable::tooltip(const Place& place) const {
    const MessageSummary& message = rows_.messages()[place.row];
    switch (place.column) {
        case date:
            return locale::dateAndTime(message.date, locale::DateStyle::full, calendar_);
        case from:
            return MailMessage::line(message.from);
        default:
            if (!place.cell->isCut()) return "";
            return text(place.column, message) + (isCompact_ ? "\n" + secondLine(message) : "");
    }
}

std::optional<std::size_t> MessageTable::rowOf(GtkListItem* item) const {
    const std::size_t row = gtk_list_item_get_position(item);
    return row < rows_.messages().size() ? std::optional(row) : std::nullopt;
}

// What is shown at a point of the view.
std::optional<MessageTable::Place> MessageTable::placeAt(double x, double y) {
    Gtk::Widget* widget = view_.pick(x, y);
    while (widget != nullptr && widget != &view_ && widget->get_css_name() != "cell") widget = widget->get_parent();
    if (widget == nullptr) return std::nullopt;
    for (const auto& [item, cell] : cells_) {
        if (cell.widget->get_parent() != widget) continue;
        const auto row = rowOf(item);
        return row ? std::optional(Place{*row, cell.column, cell.widget}) : std::nullopt;
    }
    return std::nullopt;
}

// Null while the selected row is out of sight.
MessageCell* MessageTable::selectedCell() {
    for (const auto& [item, cell] : cells_)
        if (cell.column == subject && rowOf(item) && rowOf(item) == rows_.selectedRow()) return cell.widget;
    return nullptr;
}

// ---- What the model says ----

void MessageTable::showMessages() {
    calendar_ = Calendar::current();
    const bool hadFocus = widgets::hasFocus(*list_);
    const bool wasEmpty = rows_.messages().empty();
    rows_.setMessages(model_.messages.get(), model_.selection.get());
    if (!rows_.isAllShown()) showAllLater();
    if (!rows_.messages().empty()) scrollTo(rows_.selectedRow().value_or(0), hadFocus && !wasEmpty);
    showWhyEmpty();
    scroller_.set_visible(!rows_.messages().empty());
    set_visible_child(rows_.messages().empty() ? static_cast<Gtk::Widget&>(empty_) : scroller_);
    // The button that has just cleared the filters is gone, and the focus with it.
    if (wasEmpty)
        focusLater([this]() -> Gtk::Widget* { return get_root() && !get_root()->get_focus() ? list_ : nullptr; });
}

// Once the first rows are painted.
void MessageTable::showAllLater() {
    add_tick_callback([this, isPainted = false](const Glib::RefPtr<Gdk::FrameClock>&) mutable {
        if (isPainted) rows_.showAll();
        return !std::exchange(isPainted, true);
    });
}

void MessageTable::showWhyEmpty() { clear_.set_visible(model_.filter.get().hasCriteria()); }

// ---- Moving about ----

// The toolkit's Tab key goes through a list row by row, which is no way out of many rows, and backwards through the
// titles from the first to the last.
bool MessageTable::moveOn(bool isBackward) {
    const bool isInList = widgets::hasFocus(*list_);
    if (isBackward && titles_.moveBack()) return true;
    if (!isBackward && !isInList) return false;   // from title to title and to the list
    leave(isInList ? *list_ : *widgets::childNamed(view_, "header"), isBackward);
    return true;
}

void MessageTable::leave(Gtk::Widget& part, bool isBackward) {
    part.set_can_focus(false);
    gtk_widget_child_focus(GTK_WIDGET(gtk_widget_get_root(view_.Gtk::Widget::gobj())),
                           isBackward ? GTK_DIR_TAB_BACKWARD : GTK_DIR_TAB_FORWARD);
    part.set_can_focus(true);
}

void MessageTable::scrollTo(std::size_t row, bool focus) {
    gtk_widget_activate_action(list_->gobj(), "list.scroll-to-item", "u", static_cast<guint>(row));
    if (!focus || rows_.selectedRow() != row) return;
    focusLater([this] {
        Gtk::Widget* widget = selectedCell();
        while (widget != nullptr && widget->get_css_name() != "row") widget = widget->get_parent();
        return widget;
    });
}

// What is to have the focus may be there only after the next layout.
void MessageTable::focusLater(std::function<Gtk::Widget*()> find) {
    focusing_.disconnect();
    focusing_ = Glib::signal_idle().connect(
        [find = std::move(find)] {
            if (Gtk::Widget* widget = find()) widget->grab_focus();
            return false;
        },
        Glib::PRIORITY_LOW);
}

void MessageTable::addTypeAhead() {
    const auto keys = Gtk::EventControllerKey::create();
    keys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    keys->signal_key_pressed().connect(
        [this, controller = keys.get()](guint pressed, guint, Gdk::ModifierType state) {
            const bool isBackward = pressed == GDK_KEY_ISO_Left_Tab;
            if (isBackward || pressed == GDK_KEY_Tab) return moveOn(isBackward);
            const auto commands = Gdk::ModifierType::CONTROL_MASK | Gdk::ModifierType::ALT_MASK |
                                  Gdk::ModifierType::SUPER_MASK | Gdk::ModifierType::META_MASK;
            const char32_t character = gdk_keyval_to_unicode(pressed);
            const std::uint32_t when = controller->get_current_event_time();
            if ((state & commands) != Gdk::ModifierType() || character < U' ' || character == 0x7F) return false;
            if (character == U' ' && !typeAhead_.isTyping(when)) return false;
            if (!widgets::hasFocus(*list_)) return false;
            goTo(character, when);
            return true;
        },
        false);
    view_.add_controller(keys);
}

void MessageTable::goTo(char32_t character, std::uint32_t when) {
    const SortOrder& order = model_.sortOrder.get();
    const Column searched = !order.empty() && order.front().key == SortKey::from ? from : subject;
    const MessageList& messages = rows_.messages();
    const auto found = typeAhead_.type(character, when, rows_.selectedRow(), messages.size(),
                                       [&](std::size_t row) { return text(searched, messages[row]); });
    if (!found) return;
    model_.selection.set(messages[*found].id());
    scrollTo(*found, true);
}

void MessageTable::focusList() {
    if (rows_.messages().empty()) return;
    if (const auto selected = rows_.selectedRow()) {
        scrollTo(*selected, true);
    } else {
        list_->child_focus(Gtk::DirectionType::TAB_FORWARD);
    }
}

void MessageTable::addOpening() {
    view_.signal_activate().connect([this](guint) {
        if (onOpen) onOpen();
    });
    const auto click = Gtk::GestureClick::create();
    click->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);   // rows keep it to themselves
    click->signal_released().connect([this](int, double x, double y) {
        if (onOpen && placeAt(x, y)) Glib::signal_idle().connect_once([this] { onOpen(); });   // once it is selected
    });
    view_.add_controller(click);
}

// ---- Tooltips and the context menu ----

void MessageTable::addTooltips() {
    view_.set_has_tooltip();
    view_.signal_query_tooltip().connect(
        [this](int x, int y, bool isByKey, const Glib::RefPtr<Gtk::Tooltip>& tooltipShown) {
            const auto place = isByKey ? std::nullopt : placeAt(x, y);
            if (!place) return false;
            const std::string words = tooltip(*place);
            if (words.empty()) return false;
            tooltipShown->set_text(words);
            return true;
        },
        false);
}

void MessageTable::addContextMenu() {
    const auto entries = Gio::Menu::create();
    entries->append(tr("Show Mail’s File in Finder"), "app.show-file");
    menu_.set_menu_model(entries);
    menu_.set_has_arrow(false);
    menu_.set_parent(view_);

    const auto click = Gtk::GestureClick::create();
    click->set_button(GDK_BUTTON_SECONDARY);
    click->signal_pressed().connect([this](int, double x, double y) {
        const auto place = placeAt(x, y);
        if (!place) return;
        model_.selection.set(rows_.messages()[place->row].id());
        openMenu({static_cast<int>(x), static_cast<int>(y), 1, 1});
    });
    view_.add_controller(click);

    const auto keys = Gtk::ShortcutController::create();
    const auto open = Gtk::CallbackAction::create([this](Gtk::Widget&, const Glib::VariantBase&) {
        MessageCell* cell = selectedCell();
        double x = 0, y = 0;
        if (cell == nullptr || !cell->translate_coordinates(view_, 0, cell->get_height(), x, y)) return false;
        openMenu({static_cast<int>(x), static_cast<int>(y), 1, 1});
        return true;
    });
    for (const auto& trigger : {Gtk::KeyvalTrigger::create(GDK_KEY_Menu),
                                Gtk::KeyvalTrigger::create(GDK_KEY_F10, Gdk::ModifierType::SHIFT_MASK)})
        keys->add_shortcut(Gtk::Shortcut::create(trigger, open));
    view_.add_controller(keys);
}

void MessageTable::openMenu(const Gdk::Rectangle& at) {
    menu_.set_pointing_to(at);
    menu_.popup();
}

}   // namespace ostrel
