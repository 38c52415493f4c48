#include "ui/sheets/OptionRows.h"

#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Labels.h"

#include <utility>

#include <gtkmm/gestureclick.h>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int spacing = 12;

template <class Field>
void change(AppModel& model, Field AppSettings::*field, Field value) {
    AppSettings settings = model.settings.get();
    settings.*field = value;
    model.settings.set(std::move(settings));
}

}   // namespace

SwitchRow::SwitchRow(AppModel& model, const std::string& text, bool AppSettings::*field)
    : Gtk::Box(Gtk::Orientation::HORIZONTAL, spacing), model_(model), field_(field), label_(text) {
    wrapFromLeft(label_);
    label_.set_hexpand();
    switch_.set_valign(Gtk::Align::CENTER);
    accessible::setLabel(switch_, text);
    append(label_);
    append(switch_);
    switch_.property_active().signal_changed().connect([this] { change(model_, field_, switch_.get_active()); });
    // The text is as good a target as the switch.
    const auto click = Gtk::GestureClick::create();
    click->signal_released().connect([this](int, double, double) { switch_.set_active(!switch_.get_active()); });
    label_.add_controller(click);
    subscription_ = model_.settings.observe([this] { show(); });
    show();
}

void SwitchRow::show() { switch_.set_active(model_.settings.get().*field_); }

PaperRow::PaperRow(AppModel& model)
    : Gtk::Box(Gtk::Orientation::HORIZONTAL, spacing),
      model_(model),
      label_(tr("Paper size")),
      segments_(Gtk::Orientation::HORIZONTAL),
      letter_(tr("US Letter")),
      a4_(tr("A4")) {
    wrapFromLeft(label_);
    label_.set_hexpand();
    segments_.add_css_class("linked");
    segments_.set_valign(Gtk::Align::CENTER);
    accessible::setLabel(segments_, tr("Paper size"));
    a4_.set_group(letter_);
    for (const auto& [button, paper] : {std::pair(&letter_, Paper::letter), std::pair(&a4_, Paper::a4)}) {
        segments_.append(*button);
        button->set_focus_on_click(false);   // Return stays with the window's own button
        button->signal_toggled().connect([this, button = button, paper = paper] {
            if (button->get_active()) change(model_, &AppSettings::paper, paper);
        });
    }
    append(label_);
    append(segments_);
    subscription_ = model_.settings.observe([this] { show(); });
    show();
}

void PaperRow::show() { (model_.settings.get().paper == Paper::letter ? letter_ : a4_).set_active(); }

}   // namespace ostrel
