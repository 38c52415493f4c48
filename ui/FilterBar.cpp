#include "ui/FilterBar.h"

#include "platform/LocaleFormat.h"
#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Mnemonics.h"

#include <utility>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int spacing = 6, entryCharacters = 10;   // they take what the line leaves

void prepare(Gtk::SearchEntry& entry, const std::string& placeholder, const std::string& label) {
    entry.property_placeholder_text() = placeholder;   // gtkmm 4.8 takes it for another kind of entry in its own call
    entry.set_tooltip_text(placeholder);               // it may be cut off, and goes with the first letter typed
    entry.set_width_chars(entryCharacters);
    entry.set_hexpand();
    accessible::setLabel(entry, label);
}

void showText(Gtk::SearchEntry& entry, const std::string& text) {
    if (entry.get_text().raw() != text) entry.set_text(text);
}

}   // namespace

FilterBar::FilterBar(AppModel& model, Mnemonics& mnemonics)
    : Gtk::Box(Gtk::Orientation::VERTICAL, spacing),
      model_(model),
      choices_(Gtk::Orientation::VERTICAL, spacing),
      start_(mnemonics.mark(tr("From date")), tr("From date")),
      end_(mnemonics.mark(tr("To date")), tr("To date")),
      line_(spacing, spacing) {
    add_css_class("filter-bar");
    prepare(person_, tr("From or to (name or address)"), tr("Filter by sender or recipient"));
    prepare(subject_, tr("Subject contains"), tr("Filter by subject"));
    clear_.set_tooltip_text(tr("Clear the person, subject and date filters"));
    clear_.set_action_name("app.clear-filters");
    clear_.signal_clicked().connect([this] { person_.grab_focus(); });   // it is gone now, and the focus with it
    mnemonics.write(clear_, tr("Clear"));
    choices_.append(start_);
    choices_.append(end_);
    choices_.add_css_class("days");
    popover_.set_child(choices_);
    days_.set_popover(popover_);
    days_.add_css_class("numeric");
    for (Gtk::Widget* child : std::initializer_list<Gtk::Widget*>{&person_, &subject_, &days_, &clear_})
        line_.append(*child);
    append(line_);

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
    showDays();
    isShowing_ = false;
}

void FilterBar::showDays() {
    const MessageFilter& filter = model_.filter.get();
    const auto words = [](const Day& day) { return locale::numericDate(day); };
    std::string shown = tr("Any date");
    if (filter.startDay && filter.endDay) {
        shown = i18n::filled(tr("%@ – %@"), words(*filter.startDay), words(*filter.endDay));
    } else if (filter.startDay) {
        shown = i18n::filled(tr("From %@"), words(*filter.startDay));
    } else if (filter.endDay) {
        shown = i18n::filled(tr("Until %@"), words(*filter.endDay));
    }
    days_.set_label(shown);
}

}   // namespace ostrel
