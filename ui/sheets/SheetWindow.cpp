#include "ui/sheets/SheetWindow.h"

#include "ui/widgets/TextScale.h"

#include <algorithm>

#include <gtkmm/application.h>

namespace ostrel {
namespace {

constexpr int usualWidth = 560, usualMostHeight = 560, margin = 24, spacing = 12;
// What the frame of a window and a scroll bar may take of its width.
constexpr int frame = 30;

}   // namespace

SheetWindow::SheetWindow(AppModel& model, Gtk::Window& parent, const std::string& title)
    : model_(model),
      body_(Gtk::Orientation::VERTICAL),
      content_(Gtk::Orientation::VERTICAL, spacing),
      buttons_(Gtk::Orientation::HORIZONTAL, spacing) {
    set_title(title);
    set_transient_for(parent);
    set_modal();
    set_application(parent.get_application());   // its actions
    header_.add_css_class("flat");
    header_.set_title_widget(*Gtk::make_managed<Gtk::Box>());   // the title stands above the content
    set_titlebar(header_);

    content_.set_margin(margin);
    scroller_.set_child(content_);
    scroller_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
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

void SheetWindow::addButton(Gtk::Button& button, const std::string& text) {
    mnemonics_.write(button, text);
    button.set_focus_on_click(false);
    buttons_.append(button);
}

// The scrolled window does not know how its lines will break.
void SheetWindow::fit() {
    const int room = get_transient_for()->get_width();   // 0: the window is not shown yet
    const int usual = textScale::scaled(usualWidth);
    const int width = room > 0 ? std::min(usual, room) : usual, maxHeight = textScale::scaled(usualMostHeight);
    arrangeButtons(width - 2 * margin);
    const auto heightOf = [width](const Gtk::Widget& part) {
        int least = 0, natural = 0, unused = 0;
        part.measure(Gtk::Orientation::VERTICAL, width - frame, least, natural, unused, unused);
        return natural;
    };
    const int content = std::max(height_, std::min(heightOf(content_), maxHeight));
    height_ = content;
    scroller_.set_min_content_height(content);
    set_default_size(width, content + heightOf(buttons_) + heightOf(header_));
}

// One below the other where they do not fit side by side.
void SheetWindow::arrangeButtons(int width) {
    buttons_.set_orientation(Gtk::Orientation::HORIZONTAL);
    int least = 0, natural = 0, unused = 0;
    buttons_.measure(Gtk::Orientation::HORIZONTAL, -1, least, natural, unused, unused);
    const bool fits = least <= width;
    buttons_.set_orientation(fits ? Gtk::Orientation::HORIZONTAL : Gtk::Orientation::VERTICAL);
    buttons_.set_halign(fits ? Gtk::Align::END : Gtk::Align::FILL);
}

void SheetWindow::cancel() { model_.sheet.set(std::nullopt); }

bool SheetWindow::on_close_request() {
    cancel();
    return true;   // the main window takes the sheet away when the model says so
}

}   // namespace ostrel
