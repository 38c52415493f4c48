#include "ui/sheets/OptionRows.h"

#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Preferences.h"

#include <utility>

#include <gtkmm/box.h>
#include <gtkmm/switch.h>
#include <gtkmm/togglebutton.h>

namespace ostrel {
namespace {

using i18n::tr;

template <class Field>
void change(AppModel& model, Field AppSettings::*field, Field value) {
    AppSettings settings = model.settings.get();
    settings.*field = value;
    model.settings.set(std::move(settings));
}

class BoundSwitch : public Gtk::Switch {
public:
    BoundSwitch(AppModel& model, bool AppSettings::*field) : model_(model), field_(field) {
        set_valign(Gtk::Align::CENTER);
        property_active().signal_changed().connect([this] { change(model_, field_, get_active()); });
        subscription_ = model_.settings.observe([this] { show(); });
        show();
    }

private:
    void show() { set_active(model_.settings.get().*field_); }

    AppModel& model_;
    bool AppSettings::*field_;
    Subscription subscription_;
};

class PaperPicker : public Gtk::Box {
public:
    explicit PaperPicker(AppModel& model)
        : Gtk::Box(Gtk::Orientation::HORIZONTAL), model_(model), letter_(tr("US Letter")), a4_(tr("A4")) {
        add_css_class("linked");
        set_valign(Gtk::Align::CENTER);
        accessible::setLabel(*this, tr("Paper size"));
        a4_.set_group(letter_);
        for (const auto& [button, paper] : {std::pair(&letter_, Paper::letter), std::pair(&a4_, Paper::a4)}) {
            append(*button);
            button->set_focus_on_click(false);   // Return stays with the window's own button
            button->signal_toggled().connect([this, button = button, paper = paper] {
                if (button->get_active()) change(model_, &AppSettings::paper, paper);
            });
        }
        subscription_ = model_.settings.observe([this] { show(); });
        show();
    }

private:
    void show() { (model_.settings.get().paper == Paper::letter ? letter_ : a4_).set_active(); }

    AppModel& model_;
    Gtk::ToggleButton letter_, a4_;
    Subscription subscription_;
};

}   // namespace

Gtk::Widget& makeSwitchRow(AppModel& model, const std::string& text, bool AppSettings::*field) {
    auto& control = *Gtk::make_managed<BoundSwitch>(model, field);
    accessible::setLabel(control, text);
    return preferences::makeRow(text, control, preferences::Click::activatesControl);
}

Gtk::Widget& makePaperRow(AppModel& model) {
    return preferences::makeRow(tr("Paper size"), *Gtk::make_managed<PaperPicker>(model),
                                preferences::Click::doesNothing);
}

}   // namespace ostrel
