#include "ui/MailboxSidebar.h"

#include "platform/LocaleFormat.h"
#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Symbols.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include <gtkmm/gestureclick.h>
#include <gtkmm/label.h>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int spacing = 6;

// What stands behind a check box: a symbol, a name that is cut off where the sidebar ends, and a count if any.
struct Content {
    Gtk::Box* box;
    Gtk::Label* count;
};
Content makeContent(std::string_view symbol, const std::string& name, const std::string& count) {
    auto* content = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, spacing);
    auto* image = Gtk::make_managed<Gtk::Image>();
    image->set_from_icon_name(symbols::iconName(symbol));
    accessible::hide(*image);
    auto* label = Gtk::make_managed<Gtk::Label>(name, Gtk::Align::START);
    label->set_ellipsize(Pango::EllipsizeMode::END);
    label->set_hexpand();
    label->set_xalign(0);
    content->append(*image);
    content->append(*label);
    auto* number = Gtk::make_managed<Gtk::Label>(count);
    number->add_css_class("dim-label");
    number->add_css_class("numeric");
    content->append(*number);
    content->set_hexpand();
    return {content, number};
}

// Of several with one address, each has its number.
std::string labelOf(const MailAccount& account, const std::vector<MailAccount>& all) {
    std::uint64_t number = 0, count = 0;
    for (const MailAccount& other : all) {
        if (other.label != account.label) continue;
        ++count;
        if (other.id == account.id) number = count;
    }
    return count < 2
               ? account.label
               : i18n::filled(tr("%@ (%@)"), account.label, locale::wholeNumber(static_cast<std::int64_t>(number)));
}

}   // namespace

MailboxSidebar::MailboxSidebar(AppModel& model)
    : model_(model), list_(Gtk::Orientation::VERTICAL), accounts_(Gtk::Orientation::VERTICAL) {
    add_css_class("mailboxes");
    const Content everything = makeContent("tray.2", tr("All Mailboxes"), "");
    chosen_ = everything.count;
    accessible::setLabel(all_, tr("All Mailboxes"));
    all_.signal_toggled().connect([this] {
        if (!isShowing_) model_.setAllMailboxes(all_.get_active());
    });
    list_.append(makeLine(all_, *everything.box, std::nullopt));
    list_.append(accounts_);
    scroller_.set_child(list_);
    scroller_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    scroller_.set_expand();
    append(scroller_);
    focus_.onSideways = [this](Gtk::Widget& stop, bool toEnd) { moveSideways(stop, toEnd); };
    focus_.onReturn = [this](Gtk::Widget& stop) { return chooseAt(stop); };

    subscriptions_.push_back(model_.index.observe([this] { showMailboxes(); }));
    subscriptions_.push_back(model_.filter.observe([this] { showChecks(); }));
    showMailboxes();
}

// A reload that finds the same leaves everything in its place, the focus too.
void MailboxSidebar::showMailboxes() {
    const auto& index = model_.index.get();
    const std::vector<MailAccount> accounts = index ? index->accounts : std::vector<MailAccount>();
    if (accounts != shown_) {
        shown_ = accounts;
        rows_.clear();
        sections_.clear();
        collectStops();
        while (Gtk::Widget* part = accounts_.get_first_child()) accounts_.remove(*part);
        for (const MailAccount& account : accounts) addAccount(account, labelOf(account, accounts));
    }
    collectStops();
    showChecks();
}

void MailboxSidebar::collectStops() {
    std::vector<Gtk::Widget*> stops{&all_};
    for (std::size_t i = 0; i < sections_.size(); ++i) {
        stops.push_back(sections_[i].header);
        if (!sections_[i].mailboxes->get_visible()) continue;
        for (const Row& row : rows_)
            if (row.section == i) stops.push_back(row.check);
    }
    focus_.setStops(std::move(stops));
}

// As in a tree: towards the end an account opens, towards the beginning it closes, from its mailboxes after a stop at
// its name.
void MailboxSidebar::moveSideways(Gtk::Widget& stop, bool toEnd) {
    const auto section = std::ranges::find(sections_, &stop, &Section::header);
    if (section != sections_.end()) return expand(*section, toEnd);
    const auto row = std::ranges::find(rows_, &stop, &Row::check);
    if (row != rows_.end() && !toEnd) focus_.moveTo(*sections_[row->section].header);
}

void MailboxSidebar::addAccount(const MailAccount& account, const std::string& label) {
    auto* mailboxes = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL);
    mailboxes->add_css_class("account");
    for (const Mailbox& mailbox : account.mailboxes) {
        auto* check = Gtk::make_managed<Gtk::CheckButton>();
        const Content content = makeContent(symbols::forMailbox(mailbox.name), mailbox.name,
                                            locale::wholeNumber(static_cast<std::int64_t>(mailbox.messageCount)));
        content.box->set_tooltip_text(mailbox.name);   // whole, where there is no room for it
        accessible::setLabel(*check, mailbox.name + ", " + i18n::trCount("%lld messages", mailbox.messageCount));
        check->signal_toggled().connect([this, check, id = mailbox.id] {
            if (!isShowing_) model_.setMailbox(id, check->get_active());
        });
        Gtk::Box& line = makeLine(*check, *content.box, mailbox.id);
        mailboxes->append(line);
        rows_.push_back({mailbox.id, &line, check, sections_.size()});
    }
    auto* name = Gtk::make_managed<Gtk::Label>(label, Gtk::Align::START);
    name->set_ellipsize(Pango::EllipsizeMode::END);
    name->add_css_class("heading");
    auto* arrow = Gtk::make_managed<Gtk::Image>();
    accessible::hide(*arrow);
    auto* content = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, spacing);
    content->append(*arrow);
    content->append(*name);
    auto* header = Gtk::make_managed<Gtk::Button>();
    header->set_child(*content);
    header->set_has_frame(false);
    header->set_tooltip_text(label == account.label ? label : label + "\n" + account.id);
    accessible::setLabel(*header, label);
    const Section section{account.id, header, arrow, mailboxes};
    header->signal_clicked().connect([this, section] { expand(section, !section.mailboxes->get_visible()); });
    accounts_.append(*header);
    accounts_.append(*mailboxes);
    sections_.push_back(section);
    expand(section, !isCollapsed_[account.id]);
}

Gtk::Box& MailboxSidebar::makeLine(Gtk::CheckButton& check, Gtk::Box& content, std::optional<std::string> mailboxID) {
    auto& line = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL);
    line.add_css_class("mailbox");
    line.append(check);
    line.append(content);
    const auto click = Gtk::GestureClick::create();
    click->signal_released().connect([this, &check, id = std::move(mailboxID)](int, double, double) {
        focus_.moveTo(check);
        choose(id);
    });
    content.add_controller(click);
    return line;
}

void MailboxSidebar::choose(const std::optional<std::string>& mailboxID) {
    if (mailboxID) {
        model_.showOnlyMailbox(*mailboxID);
    } else {
        model_.setAllMailboxes(true);
    }
    signalChosen.emit();
}

bool MailboxSidebar::chooseAt(const Gtk::Widget& stop) {
    if (&stop == &all_) {
        choose(std::nullopt);
        return true;
    }
    const auto row = std::ranges::find(rows_, &stop, &Row::check);
    if (row == rows_.end()) return false;
    choose(std::string(row->mailboxID));
    return true;
}

void MailboxSidebar::expand(const Section& section, bool isExpanded) {
    isCollapsed_[section.accountID] = !isExpanded;
    section.mailboxes->set_visible(isExpanded);
    section.arrow->set_from_icon_name(isExpanded ? "pan-down-symbolic" : "pan-end-symbolic");
    gtk_accessible_update_state(GTK_ACCESSIBLE(section.header->gobj()), GTK_ACCESSIBLE_STATE_EXPANDED, isExpanded, -1);
    collectStops();
}

void MailboxSidebar::showChecks() {
    const auto& chosen = model_.filter.get().mailboxes;
    isShowing_ = true;
    all_.set_active(!chosen);
    std::size_t count = 0;
    for (const Row& row : rows_) {
        const bool isChosen = !chosen || chosen->contains(row.mailboxID);
        row.check->set_active(isChosen);
        if (isChosen) ++count;
        if (chosen && isChosen && chosen->size() == 1) {
            row.line->add_css_class("only");
        } else {
            row.line->remove_css_class("only");
        }
    }
    isShowing_ = false;
    const std::string words = chosen ? i18n::filled(tr("%lld of %lld"), count, rows_.size()) : "";
    chosen_->set_text(words);
    accessible::setDescription(all_, words);
}

}   // namespace ostrel
