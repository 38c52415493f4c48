#include "ui/widgets/Labels.h"

#include <pangomm/attributes.h>
#include <pangomm/attrlist.h>

namespace ostrel {
namespace {

void wrap(Gtk::Label& label) {
    label.set_wrap();
    label.set_wrap_mode(Pango::WrapMode::WORD_CHAR);
    Pango::AttrList attributes;
    auto noHyphens = Pango::Attribute::create_attr_insert_hyphens(false);
    attributes.insert(noHyphens);
    label.set_attributes(attributes);
}

}   // namespace

void wrapFromLeft(Gtk::Label& label) {
    wrap(label);
    label.set_natural_wrap_mode(Gtk::NaturalWrapMode::WORD);
    label.set_xalign(0);
}

void wrapCentered(Gtk::Label& label, int lineCharacters) {
    wrap(label);
    label.set_max_width_chars(lineCharacters);
    label.set_justify(Gtk::Justification::CENTER);
    label.set_xalign(0.5);
}

}   // namespace ostrel
