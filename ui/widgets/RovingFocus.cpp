#include "ui/widgets/RovingFocus.h"

#include <algorithm>
#include <utility>

#include <gdk/gdkkeysyms.h>
#include <gtkmm/eventcontrollerkey.h>
#include <gtkmm/gestureclick.h>

namespace ostrel {

RovingFocus::RovingFocus(Gtk::Widget& area) : area_(area) {
    const auto keys = Gtk::EventControllerKey::create();
    keys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    keys->signal_key_pressed().connect(
        [this](guint key, guint, Gdk::ModifierType state) {
            const auto commands =
                Gdk::ModifierType::CONTROL_MASK | Gdk::ModifierType::ALT_MASK | Gdk::ModifierType::SHIFT_MASK;
            return (state & commands) == Gdk::ModifierType() && press(key);
        },
        false);
    area_.add_controller(keys);
    // What is clicked takes the focus, if it can have it by then.
    const auto click = Gtk::GestureClick::create();
    click->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    click->signal_pressed().connect([this](int, double x, double y) {
        for (Gtk::Widget* at = area_.pick(x, y); at != nullptr && at != &area_; at = at->get_parent()) {
            if (std::ranges::find(stops_, at) == stops_.end()) continue;
            choose(at);
            return;
        }
    });
    area_.add_controller(click);
}

void RovingFocus::setStops(std::vector<Gtk::Widget*> stops) {
    stops_ = std::move(stops);
    for (Gtk::Widget* stop : stops_) stop->set_can_focus(stop == current_);
    if (std::ranges::find(stops_, current_) == stops_.end()) {
        current_ = nullptr;
        if (!stops_.empty()) choose(stops_.front());
    }
}

void RovingFocus::moveTo(Gtk::Widget& stop) {
    choose(&stop);
    stop.grab_focus();
}

void RovingFocus::choose(Gtk::Widget* stop) {
    Gtk::Widget* const before = std::exchange(current_, stop);
    stop->set_can_focus();
    if (before == nullptr || before == stop) return;
    if (before->has_focus()) stop->grab_focus();
    before->set_can_focus(false);
}

bool RovingFocus::press(unsigned key) {
    const auto at = std::ranges::find_if(stops_, [](const Gtk::Widget* stop) { return stop->has_focus(); });
    if (at == stops_.end()) return false;
    switch (key) {
        case GDK_KEY_Up:
        case GDK_KEY_KP_Up:
            if (at != stops_.begin()) moveTo(**(at - 1));
            return true;
        case GDK_KEY_Down:
        case GDK_KEY_KP_Down:
            if (at + 1 != stops_.end()) moveTo(**(at + 1));
            return true;
        case GDK_KEY_Home:
        case GDK_KEY_KP_Home:
            moveTo(*stops_.front());
            return true;
        case GDK_KEY_End:
        case GDK_KEY_KP_End:
            moveTo(*stops_.back());
            return true;
        case GDK_KEY_Left:
        case GDK_KEY_KP_Left:
        case GDK_KEY_Right:
        case GDK_KEY_KP_Right: {
            const bool isRight = key == GDK_KEY_Right || key == GDK_KEY_KP_Right;
            if (onSideways) onSideways(**at, isRight == ((*at)->get_direction() != Gtk::TextDirection::RTL));
            return true;
        }
        case GDK_KEY_Return:
        case GDK_KEY_KP_Enter:
            return onReturn && onReturn(**at);
        default:
            return false;
    }
}

}   // namespace ostrel
