#include "ui/widgets/ThreeColumns.h"

#include "ui/widgets/TextScale.h"
#include "ui/widgets/WidgetTree.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace ostrel {
namespace {

// Pixels at the usual text size.
constexpr int minMailboxes = 200, mailboxesIdeal = 240, maxMailboxes = 360;
constexpr int minMessages = 380, messagesIdeal = 560;
constexpr int minPage = 280, pageIdeal = 320, pageUsual = 440;   // does not follow the size of the window's text
constexpr int minAlone = 340;                                    // any of them
constexpr int handle = 12;                                       // at most

}   // namespace

ThreeColumns::ThreeColumns(Gtk::Widget& mailboxes, Gtk::Widget& messages, Gtk::Widget& page)
    : SplitView({textScale::scaled(mailboxesIdeal), textScale::scaled(maxMailboxes)}),
      mailboxes_(mailboxes),
      messages_(messages),
      page_(page),
      messagesAndPage_({textScale::scaled(messagesIdeal), 0}) {
    messagesAndPage_.leaveSecond(pageIdeal);
    messagesAndPage_.shareBeyond(textScale::scaled(messagesIdeal) + pageUsual);
    mailboxes.set_size_request(minMailboxes, -1);
    messages.set_size_request(minMessages, -1);
    page.set_size_request(minPage, -1);
    messagesAndPage_.setColumns(messages, page);
    setColumns(mailboxes, messagesAndPage_);
    leaveSecond(textScale::scaled(minMessages) + pageIdeal);
}

void ThreeColumns::toggleMailboxes() {
    if (room_ == Room::one) return showAlone(areMailboxesShown() ? Column::messages : Column::mailboxes);
    bool& isShown = room_ == Room::two ? isShownWhenTwo_ : isShownWhenThree_;
    isShown = !isShown;
    fold();
}

bool ThreeColumns::areMailboxesShown() const { return mailboxes_.get_visible(); }

void ThreeColumns::showAlone(Column column) {
    if (room_ != Room::one || column == alone_) return;
    alone_ = column;
    fold();
}

std::optional<ThreeColumns::Column> ThreeColumns::alone() const {
    return room_ == Room::one ? std::optional(alone_) : std::nullopt;
}

// Columns fold away before the window is narrower than they are.
void ThreeColumns::measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                                 int& minimumBaseline, int& naturalBaseline) const {
    const auto measure = [&](Gtk::Orientation along, int across) {
        SplitView::measure_vfunc(along, across, minimum, natural, minimumBaseline, naturalBaseline);
    };
    measure(Gtk::Orientation::HORIZONTAL, -1);
    if (orientation != Gtk::Orientation::HORIZONTAL) {
        // Until columns have folded away, the window may be narrower than they can be asked about.
        measure(orientation, forSize < 0 ? forSize : std::max(forSize, minimum));
    } else if (room_ != Room::one) {
        minimum = std::min(minimum, textScale::scaled(minAlone));
    }
}

void ThreeColumns::size_allocate_vfunc(int width, int height, int baseline) {
    SplitView::size_allocate_vfunc(width, height, baseline);
    const Room room = roomIn(width);
    if (room == room_) {
        folding_ = {};
    } else {   // nothing may come or go while places are given
        folding_ = mainLoop::Timer(std::chrono::milliseconds(0), [this, room] { setRoom(room); });
    }
}

ThreeColumns::Room ThreeColumns::roomIn(int width) {
    const int two = textScale::scaled(minMessages) + minPage + handle;
    return width < two ? Room::one : width < two + textScale::scaled(minMailboxes) ? Room::two : Room::three;
}

void ThreeColumns::setRoom(Room room) {
    room_ = room;
    isShownWhenTwo_ = false;
    alone_ = widgets::hasFocus(page_) ? Column::page : Column::messages;   // whoever reads goes on reading
    fold();
}

void ThreeColumns::fold() {
    const bool isAlone = room_ == Room::one;
    const bool hasMailboxes = isAlone              ? alone_ == Column::mailboxes
                              : room_ == Room::two ? isShownWhenTwo_
                                                   : isShownWhenThree_;
    const bool hasMessages = !isAlone || alone_ == Column::messages;
    const bool hasPage = isAlone ? alone_ == Column::page : room_ == Room::three || !hasMailboxes;
    const std::pair<Gtk::Widget*, bool> columns[] = {
        {&messages_, hasMessages}, {&mailboxes_, hasMailboxes}, {&page_, hasPage}};
    bool isFocusLost = false;
    for (const auto& [column, isShown] : columns) isFocusLost = isFocusLost || (!isShown && widgets::hasFocus(*column));
    messages_.set_size_request(isAlone ? -1 : minMessages, -1);
    messagesAndPage_.set_visible(hasMessages || hasPage);
    for (const auto& [column, isShown] : columns)
        if (isShown) column->set_visible();
    if (isFocusLost)
        std::ranges::find_if(columns, &std::pair<Gtk::Widget*, bool>::second)
            ->first->child_focus(Gtk::DirectionType::TAB_FORWARD);
    for (const auto& [column, isShown] : columns) column->set_visible(isShown);
    leaveSecond((hasMessages && !isAlone ? textScale::scaled(minMessages) : 0) + (hasPage && !isAlone ? pageIdeal : 0));
    signalFolded.emit();
}

}   // namespace ostrel
