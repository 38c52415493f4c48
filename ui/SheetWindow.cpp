#include "ui/SheetWindow.h"

namespace ostrel {
namespace {

constexpr int width = 520, margin = 24, spacing = 12;

}   // namespace

SheetWindow::SheetWindow(AppModel& model, Gtk::Window& parent, const std::string& title)
    : model_(model),
      body_(Gtk::Orientation::VERTICAL),
      content_(Gtk::Orientation::VERTICAL, spacing),
      buttons_(Gtk::Orientation::HORIZONTAL, spacing) {
    set_title(title);
    set_transient_for(parent);
    set_modal();
    set_default_size(width, -1);
    add_css_class("sheet");

    content_.set_margin(margin);
    scroller_.set_child(content_);
    scroller_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    scroller_.set_propagate_natural_height();
    scroller_.set_vexpand();
    buttons_.set_halign(Gtk::Align::END);
    buttons_.set_margin(margin);
    buttons_.set_margin_top(0);
    body_.append(scroller_);
    body_.append(buttons_);
    set_child(body_);

    const auto keys = Gtk::EventControllerKey::create();
    keys->signal_key_pressed().connect(
        [this](guint key, guint, Gdk::ModifierType) {
            if (key != GDK_KEY_Escape) return false;
            cancel();
            return true;
        },
        false);
    add_controller(keys);
}

void SheetWindow::cancel() { model_.sheet.set(std::nullopt); }

bool SheetWindow::on_close_request() {
    cancel();
    return true;   // the main window takes the sheet away when the model says so
}

}   // namespace ostrel
