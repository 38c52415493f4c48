#include "ui/PreviewPane.h"

#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"

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
    accessible::hide(spinner_);
    spinner_.set_size_request(spinnerSize, spinnerSize);
    spinner_.set_can_target(false);
    spinner_.set_halign(Gtk::Align::CENTER);
    spinner_.set_valign(Gtk::Align::CENTER);
    spinner_.set_visible(false);
    pages_.add(empty_);
    pages_.add(blank_);
    set_child(pages_);
    add_overlay(status_);
    add_overlay(spinner_);
    subscriptions_.push_back(model_.previewHTML.observe([this] { show(); }));
    subscriptions_.push_back(model_.selection.observe([this] { show(); }));
    subscriptions_.push_back(model_.isBuildingPreview.observe([this] { show(); }));
    show();
}

void PreviewPane::show() {
    const auto& html = model_.previewHTML.get();
    if (html && model_.selection.get()) {
        if (!preview_) makePreview();
        if (preview_->update(*html)) isLoading_ = true;
    }
    showProgress();
}

void PreviewPane::makePreview() {
    preview_ = std::make_unique<WebPreview>(opener_);
    preview_->onLoaded = [this] {
        isLoading_ = false;
        showProgress();
    };
    Gtk::Widget* web = Glib::wrap(preview_->widget());
    accessible::setLabel(*web, tr("Message preview"));
    pages_.add(*web);
}

void PreviewPane::showProgress() {
    const bool isSelected = model_.selection.get().has_value();
    const bool isBusy = isSelected && (model_.isBuildingPreview.get() || isLoading_);
    status_.set_text(!isSelected ? "" : isBusy ? tr("Loading the preview") : tr("The preview is loaded"));
    isLate_ = isLate_ && isBusy;
    patience_ = isBusy && !isLate_ ? mainLoop::Timer(soon,
                                                     [this] {
                                                         isLate_ = true;
                                                         showProgress();
                                                     })
                                   : mainLoop::Timer();
    spinner_.set_visible(isLate_);
    spinner_.set_spinning(isLate_);
    pages_.set_visible_child(page());
}

Gtk::Widget& PreviewPane::page() {
    if (model_.selection.get() && model_.previewHTML.get()) return *Glib::wrap(preview_->widget());
    if (isLate_) return blank_;
    return empty_;
}

}   // namespace ostrel
