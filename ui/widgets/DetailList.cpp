#include "ui/widgets/DetailList.h"

#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/TextScale.h"

#include <algorithm>

#include <gdkmm/clipboard.h>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int spacing = 6, padding = 6, minHeight = 60, maxHeight = 140, lineHeight = 22;

// On one line, whatever a subject or a file's name contains.
std::string oneLine(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return text;
}

}   // namespace

DetailList::DetailList() : Gtk::Box(Gtk::Orientation::VERTICAL, spacing), copy_(tr("Copy List")) {
    text_.set_editable(false);
    text_.set_cursor_visible(false);
    text_.set_accepts_tab(false);   // the key goes on to the next widget
    text_.set_wrap_mode(Gtk::WrapMode::WORD_CHAR);
    text_.set_left_margin(padding);
    text_.set_right_margin(padding);
    text_.set_top_margin(padding);
    text_.set_bottom_margin(padding);
    accessible::setLabel(text_, tr("Details"));
    scroller_.set_child(text_);
    scroller_.set_has_frame();
    scroller_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    copy_.set_halign(Gtk::Align::START);
    copy_.signal_clicked().connect([this] { get_clipboard()->set_text(text_.get_buffer()->get_text()); });
    append(scroller_);
    append(copy_);
    set({});
}

void DetailList::set(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + oneLine(line);
    text_.get_buffer()->set_text(text);
    const int wanted =
        std::clamp(static_cast<int>(std::min<std::size_t>(lines.size(), 100)) * lineHeight, minHeight, maxHeight);
    scroller_.set_min_content_height(textScale::scaled(wanted));
    set_visible(!lines.empty());
}

}   // namespace ostrel
