#include "ui/PreviewPane.h"

#include "platform/Translation.h"
#include "ui/Accessible.h"

#include <chrono>
#include <utility>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int spinnerSize = 32;
constexpr std::chrono::milliseconds soon{500};   // most pages are there before, and nothing flickers

}   // namespace

PreviewPane::PreviewPane(AppModel& model, WebPreview::LinkOpener opener)
    : model_(model),
      opener_(std::move(opener)),
      empty_("envelope.open", tr("No Message Selected"), tr("Choose a message to see it as it will look in its PDF.")) {
    add_css_class("preview");
    g_object_set(status_.gobj(), "accessible-role", GTK_ACCESSIBLE_ROLE_STATUS, nullptr);
    status_.add_css_class("spoken");
    status_.set_can_target(false);
    status_.set_halign(Gtk::Align::START);
    status_.set_valign(Gtk::Align::END);
    page_.add_overlay(status_);
    accessible::hide(spinner_);
    spinner_.set_size_request(spinnerSize, spinnerSize);
    spinner_.set_can_target(false);
    spinner_.set_halign(Gtk::Align::CENTER);
    spinner_.set_valign(Gtk::Align::CENTER);
    spinner_.set_visible(false);
    page_.add_overlay(spinner_);
    add(empty_);
    add(page_);
    subscriptions_.push_back(model_.previewHTML.observe([this] { show(); }));
    subscriptions_.push_back(model_.selection.observe([this] { show(); }));
    show();
}

void PreviewPane::show() {
    const auto& html = model_.previewHTML.get();
    const bool isShown = html && model_.selection.get();
    if (isShown) {
        if (!preview_) makePreview();
        if (preview_->update(*html)) showLoading(true);
    }
    set_visible_child(isShown ? static_cast<Gtk::Widget&>(page_) : empty_);
}

void PreviewPane::makePreview() {
    preview_ = std::make_unique<WebPreview>(opener_);
    preview_->onLoaded = [this] { showLoading(false); };
    Gtk::Widget* web = Glib::wrap(preview_->widget());
    accessible::setLabel(*web, tr("Message preview"));
    page_.set_child(*web);
}

void PreviewPane::showLoading(bool isLoading) {
    status_.set_text(isLoading ? tr("Loading the preview") : tr("The preview is loaded"));
    patience_ = isLoading ? mainLoop::Timer(soon, [this] { spinner_.set_visible(); }) : mainLoop::Timer();
    if (!isLoading) spinner_.set_visible(false);
    spinner_.set_spinning(isLoading);
}

}   // namespace ostrel
