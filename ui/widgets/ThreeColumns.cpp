#include "ui/widgets/ThreeColumns.h"

#include "ui/widgets/TextScale.h"
#include "ui/widgets/WidgetTree.h"

#include <algorithm>
#include <chrono>

namespace ostrel {
namespace {

// Pixels at the usual text size.
constexpr int minMailboxes = 200, mailboxesIdeal = 240, maxMailboxes = 360;
constexpr int minMessages = 380, messagesIdeal = 560;
constexpr int minPage = 280, pageIdeal = 320, pageUsual = 440;   // does not follow the size of the window's text

int roomForAll() { return textScale::scaled(minMailboxes + minMessages) + minPage; }

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
    bool& isShown = isNarrow_ ? isShownWhenNarrow_ : isShownWhenWide_;
    isShown = !isShown;
    fold();
}

// What there must be room for is the list and the wider of its neighbours.
void ThreeColumns::measure_vfunc(Gtk::Orientation orientation, int forSize, int& minimum, int& natural,
                                 int& minimumBaseline, int& naturalBaseline) const {
    SplitView::measure_vfunc(orientation, forSize, minimum, natural, minimumBaseline, naturalBaseline);
    if (orientation != Gtk::Orientation::HORIZONTAL) return;
    if (mailboxes_.get_visible() && page_.get_visible()) minimum -= minMailboxes;
    if (!page_.get_visible()) minimum += minPage - minMailboxes;
    natural = std::max(natural, minimum);
}

void ThreeColumns::size_allocate_vfunc(int width, int height, int baseline) {
    SplitView::size_allocate_vfunc(width, height, baseline);
    const bool isNarrow = width < roomForAll();
    if (isNarrow == isNarrow_) {
        folding_ = {};
    } else {   // nothing may come or go while places are given
        folding_ = mainLoop::Timer(std::chrono::milliseconds(0), [this, isNarrow] { setNarrow(isNarrow); });
    }
}

void ThreeColumns::setNarrow(bool isNarrow) {
    isNarrow_ = isNarrow;
    isShownWhenNarrow_ = false;
    fold();
}

void ThreeColumns::fold() {
    const bool isShown = isNarrow_ ? isShownWhenNarrow_ : isShownWhenWide_;
    const bool isPageShown = !isNarrow_ || !isShown;
    const auto losesFocus = [](const Gtk::Widget& column, bool stays) { return !stays && widgets::hasFocus(column); };
    if (losesFocus(mailboxes_, isShown) || losesFocus(page_, isPageShown))
        messages_.child_focus(Gtk::DirectionType::TAB_FORWARD);
    mailboxes_.set_visible(isShown);
    page_.set_visible(isPageShown);
    leaveSecond(textScale::scaled(minMessages) + (isPageShown ? pageIdeal : 0));
    signalMailboxes.emit(isShown);
}

}   // namespace ostrel
