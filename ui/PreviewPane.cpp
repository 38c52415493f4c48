#include "ui/PreviewPane.h"

#include "platform/Translation.h"
#include "ui/Accessible.h"

#include <utility>

namespace ostrel {
namespace {

using i18n::tr;

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
        status_.set_text(tr("Loading the preview"));
        preview_->update(*html);
    }
    set_visible_child(isShown ? static_cast<Gtk::Widget&>(page_) : empty_);
}

void PreviewPane::makePreview() {
    preview_ = std::make_unique<WebPreview>(opener_);
    preview_->onLoaded = [this] { status_.set_text(tr("The preview is loaded")); };
    Gtk::Widget* web = Glib::wrap(preview_->widget());
    accessible::setLabel(*web, tr("Message preview"));
    page_.set_child(*web);
}

}   // namespace ostrel
