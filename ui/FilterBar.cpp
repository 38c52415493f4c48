#include "ui/FilterBar.h"

#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Mnemonics.h"

#include <utility>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int spacing = 6, entryCharacters = 16;

void prepare(Gtk::Entry& entry, const std::string& placeholder, const std::string& label) {
    entry.set_placeholder_text(placeholder);
    entry.set_tooltip_text(placeholder);   // it may be cut off, and goes with the first letter typed
    entry.set_width_chars(entryCharacters);
    entry.set_hexpand();
    accessible::setLabel(entry, label);
}

void showText(Gtk::Entry& entry, const std::string& text) {
    if (entry.get_text().raw() != text) entry.set_text(text);
}

}   // namespace

FilterBar::FilterBar(AppModel& model, Mnemonics& mnemonics)
    : Gtk::Box(Gtk::Orientation::VERTICAL, spacing),
      model_(model),
      start_(mnemonics.mark(tr("From date")), tr("From date")),
      end_(mnemonics.mark(tr("To date")), tr("To date")),
      texts_(spacing, spacing),
      days_(spacing + spacing / 2, spacing) {
    add_css_class("filter-bar");
    prepare(person_, tr("From or to (name or address)"), tr("Filter by sender or recipient"));
    prepare(subject_, tr("Subject contains"), tr("Filter by subject"));
    clear_.set_tooltip_text(tr("Clear the person, subject and date filters"));
    clear_.set_action_name("app.clear-filters");
    clear_.signal_clicked().connect([this] { person_.grab_focus(); });   // it is gone now, and the focus with it
    mnemonics.write(clear_, tr("Clear"));
    texts_.append(person_);
    texts_.append(subject_);
    for (Gtk::Widget* child : std::initializer_list<Gtk::Widget*>{&start_, &end_, &clear_}) days_.append(*child);
    days_.add_css_class("days");
    append(texts_);
    append(days_);

    person_.signal_changed().connect(
        [this] { change([this](MessageFilter& filter) { filter.person = person_.get_text().raw(); }); });
    subject_.signal_changed().connect(
        [this] { change([this](MessageFilter& filter) { filter.subject = subject_.get_text().raw(); }); });
    start_.onChange = [this](std::optional<Day> day) { change([&](MessageFilter& filter) { filter.startDay = day; }); };
    end_.onChange = [this](std::optional<Day> day) { change([&](MessageFilter& filter) { filter.endDay = day; }); };
    subscriptions_.push_back(model_.filter.observe([this] { show(); }));
    show();
}

void FilterBar::change(const std::function<void(MessageFilter&)>& edit) {
    if (isShowing_) return;
    MessageFilter filter = model_.filter.get();
    edit(filter);
    model_.filter.set(std::move(filter));
}

void FilterBar::show() {
    const MessageFilter& filter = model_.filter.get();
    isShowing_ = true;
    showText(person_, filter.person);
    showText(subject_, filter.subject);
    start_.setDate(filter.startDay);
    end_.setDate(filter.endDay);
    clear_.set_visible(filter.hasCriteria());
    isShowing_ = false;
}

}   // namespace ostrel
