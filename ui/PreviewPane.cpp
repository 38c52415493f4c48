#include "ui/PreviewPane.h"

#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"

#include <chrono>
#include <cmath>
#include <utility>

#include <gtkmm/eventcontrollerscroll.h>
#include <gtkmm/gesturezoom.h>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int spinnerSize = 32;
constexpr std::chrono::milliseconds soon{500};   // most pages are there before, and nothing flickers

}   // namespace

PreviewPane::PreviewPane(AppModel& model, WebPreview::LinkOpener opener)
    : Gtk::Box(Gtk::Orientation::VERTICAL),
      model_(model),
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
    pages_.onWidth = [this](int width) {
        if (preview_) preview_->setWidth(width);
    };
    pages_.add(empty_);
    pages_.add(blank_);
    link_.add_css_class("link-target");
    link_.set_ellipsize(Pango::EllipsizeMode::MIDDLE);   // a host's name stands before it, what is asked behind
    link_.set_can_target(false);
    link_.set_halign(Gtk::Align::START);
    link_.set_valign(Gtk::Align::END);
    link_.set_visible(false);
    overlay_.set_child(pages_);
    overlay_.add_overlay(status_);
    overlay_.add_overlay(spinner_);
    overlay_.add_overlay(link_);
    overlay_.set_expand();
    addBar();
    append(bar_);
    append(overlay_);
    subscriptions_.push_back(model_.settings.observe([this] {
        if (preview_) preview_->setPaper(paperSize(model_.settings.get().paper));
    }));
    subscriptions_.push_back(model_.previewHTML.observe([this] { show(); }));
    subscriptions_.push_back(model_.selection.observe([this] { show(); }));
    subscriptions_.push_back(model_.isBuildingPreview.observe([this] { show(); }));
    show();
}

void PreviewPane::show() {
    const auto& html = model_.previewHTML.get();
    if (html && model_.selection.get()) {
        if (!preview_) makePreview();
        if (preview_->update(*html)) {
            isLoading_ = true;
            bar_.stopFinding();
        }
    }
    showProgress();
}

void PreviewPane::addBar() {
    bar_.onFind = [this](const std::string& text) {
        if (preview_) preview_->find(text);
    };
    bar_.onFindNext = [this](bool isBackward) {
        if (!preview_) return;
        if (isBackward) {
            preview_->findPrevious();
        } else {
            preview_->findNext();
        }
    };
    bar_.onLeave = [this] { pages_.get_visible_child()->grab_focus(); };
    bar_.onZoom = [this](double zoom) {
        if (preview_) preview_->setZoom(zoom);
    };
}

void PreviewPane::find() {
    if (hasPage()) bar_.startFinding();
}

// The page is laid out for the width that it gets.
void PreviewPane::Pages::size_allocate_vfunc(int width, int height, int baseline) {
    Gtk::Stack::size_allocate_vfunc(width, height, baseline);
    if (onWidth) onWidth(width);
}

void PreviewPane::makePreview() {
    preview_ = std::make_unique<WebPreview>(opener_);
    preview_->setPaper(paperSize(model_.settings.get().paper));
    preview_->setWidth(get_width());
    preview_->setZoom(bar_.zoom());
    Gtk::Widget* web = Glib::wrap(preview_->widget());
    preview_->onLoaded = [this, web] {
        isLoading_ = false;
        accessible::setDescription(*web, preview_->text());
        showProgress();
    };
    preview_->onFound = [this](std::size_t matches) { bar_.showMatches(matches); };
    preview_->onLink = [this](const std::string& url) { showLink(url); };
    addZoomGestures(*web);
    web->property_accessible_role() = Gtk::Accessible::Role::GROUP;   // GTK gives no name to what has no role
    accessible::setLabel(*web, tr("Message preview"));
    pages_.add(*web);
}

void PreviewPane::addZoomGestures(Gtk::Widget& page) {
    const auto wheel = Gtk::EventControllerScroll::create();
    wheel->set_flags(Gtk::EventControllerScroll::Flags::VERTICAL);
    wheel->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    wheel->signal_scroll().connect(
        [this, controller = wheel.get()](double, double steps) {
            const bool isZoom = (controller->get_current_event_state() & Gdk::ModifierType::CONTROL_MASK) ==
                                Gdk::ModifierType::CONTROL_MASK;
            if (!isZoom) return false;
            constexpr double perStep = 1.1;
            bar_.setZoom(bar_.zoom() * std::pow(perStep, -steps));
            return true;
        },
        false);
    page.add_controller(wheel);

    const auto pinch = Gtk::GestureZoom::create();
    pinch->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    pinch->signal_begin().connect([this, gesture = pinch.get()](Gdk::EventSequence*) {
        pinched_ = bar_.zoom();
        gesture->set_state(Gtk::EventSequenceState::CLAIMED);
    });
    pinch->signal_scale_changed().connect([this](double scale) { bar_.setZoom(pinched_ * scale); });
    page.add_controller(pinch);
}

void PreviewPane::showLink(const std::string& url) {
    link_.set_text(url);
    link_.set_visible(!url.empty());
}

bool PreviewPane::hasPage() const { return model_.selection.get() && model_.previewHTML.get(); }

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
    if (!hasPage()) {
        bar_.stopFinding();
        showLink("");
    }
    bar_.set_visible(hasPage());
    pages_.set_visible_child(page());
    if (hasPage() && std::exchange(isAwaited_, false)) page().grab_focus();
}

void PreviewPane::focusPage() {
    isAwaited_ = true;
    showProgress();
}

Gtk::Widget& PreviewPane::page() {
    if (hasPage()) return *Glib::wrap(preview_->widget());
    if (isLate_) return blank_;
    return empty_;
}

}   // namespace ostrel
