#include "ui/PageBar.h"

#include "platform/LocaleFormat.h"
#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Symbols.h"
#include "ui/widgets/WidgetTree.h"

#include <algorithm>
#include <cmath>

namespace ostrel {
namespace {

using i18n::tr;

constexpr double least = 0.5, most = 8;
constexpr int spacing = 6;

void prepare(Gtk::Button& button, const char* icon, const std::string& name, const char* key = "") {
    button.set_icon_name(icon);
    button.set_tooltip_text(*key ? name + " (" + key + ")" : name);
    button.set_has_frame(false);
    accessible::setLabel(button, name);
}

}   // namespace

PageBar::PageBar() : commands_(Gtk::Orientation::HORIZONTAL, 2), finding_(Gtk::Orientation::HORIZONTAL, spacing) {
    add_css_class("page-bar");
    prepare(file_, symbols::iconName("folder"), tr("Show Mail’s File in Finder"));
    file_.set_action_name("app.show-file");
    prepare(find_, "system-search-symbolic", tr("Find in the message"), "Ctrl+Shift+F");
    find_.set_action_name("win.find-in-message");
    prepare(smaller_, "zoom-out-symbolic", tr("Zoom out"), "Ctrl+-");
    smaller_.set_action_name("win.zoom-out");
    prepare(larger_, "zoom-in-symbolic", tr("Zoom in"), "Ctrl++");
    larger_.set_action_name("win.zoom-in");
    size_.set_has_frame(false);
    size_.add_css_class("numeric");
    size_.set_tooltip_text(tr("Fit the width") + " (Ctrl+0)");
    size_.set_action_name("win.zoom-fit");
    commands_.append(file_);
    find_.set_hexpand();
    find_.set_halign(Gtk::Align::END);
    for (Gtk::Button* button : {&find_, &smaller_, &size_, &larger_}) commands_.append(*button);
    commands_.set_hexpand();

    accessible::setLabel(text_, tr("Find in the message"));
    // gtkmm 4.8 takes it for an entry.
    text_.property_placeholder_text() = tr("Find in the message");
    text_.set_hexpand();
    text_.set_width_chars(8);
    accessible::setRole(matches_, GTK_ACCESSIBLE_ROLE_STATUS);
    matches_.add_css_class("dim-label");
    matches_.add_css_class("numeric");
    prepare(previous_, "go-up-symbolic", tr("Previous match"), "Ctrl+Shift+G");
    prepare(next_, "go-down-symbolic", tr("Next match"), "Ctrl+G");
    prepare(close_, "window-close-symbolic", tr("Stop finding"));
    finding_.append(text_);
    finding_.append(matches_);
    for (Gtk::Button* button : {&previous_, &next_, &close_}) finding_.append(*button);
    finding_.set_hexpand();
    finding_.set_visible(false);
    append(commands_);
    append(finding_);

    text_.signal_search_changed().connect([this] {
        matches_.set_text("");
        onFind(text_.get_text().raw());
    });
    const auto go = [this](bool isBackward) { return [this, isBackward] { onFindNext(isBackward); }; };
    text_.signal_activate().connect(go(false));
    text_.signal_next_match().connect(go(false));
    text_.signal_previous_match().connect(go(true));
    text_.signal_stop_search().connect([this] { stopFinding(); });
    next_.signal_clicked().connect(go(false));
    previous_.signal_clicked().connect(go(true));
    close_.signal_clicked().connect([this] { stopFinding(); });
    setZoom(1);
}

void PageBar::startFinding() {
    commands_.set_visible(false);
    finding_.set_visible(true);
    text_.grab_focus();
    if (!text_.get_text().empty()) onFind(text_.get_text().raw());
}

void PageBar::stopFinding() {
    if (!isFinding()) return;
    if (widgets::hasFocus(finding_)) onLeave();
    finding_.set_visible(false);
    commands_.set_visible(true);
    onFind("");
}

void PageBar::showMatches(std::size_t count) {
    matches_.set_text(text_.get_text().empty() ? ""
                      : count == 0             ? tr("Not found")
                                               : i18n::trCount("%lld matches", count));
}

void PageBar::setZoom(double zoom) {
    zoom_ = std::clamp(zoom, least, most);
    if (std::abs(zoom_ - 1) < 0.01) zoom_ = 1;   // there and back again
    const std::string percent = locale::wholeNumber(std::lround(zoom_ * 100)) + "%";
    size_.set_label(percent);
    accessible::setLabel(size_, tr("Fit the width"));
    accessible::setDescription(size_, percent);
    if (onZoom) onZoom(zoom_);
}

}   // namespace ostrel
