#include "ui/list/ReadingView.h"

#include "platform/Translation.h"
#include "ui/widgets/Labels.h"

namespace ostrel {
namespace {

constexpr int spacing = 12, spinnerSize = 32, lineCharacters = 60;

}   // namespace

ReadingView::ReadingView() : Gtk::Box(Gtk::Orientation::VERTICAL, spacing) {
    set_valign(Gtk::Align::CENTER);
    set_halign(Gtk::Align::CENTER);
    spinner_.set_size_request(spinnerSize, spinnerSize);
    label_.add_css_class("numeric");
    label_.add_css_class("dim-label");
    wrapCentered(label_, lineCharacters);
    append(spinner_);
    append(label_);
    cancel_.set_label(i18n::tr("Cancel"));
    cancel_.add_css_class("pill");
    cancel_.set_halign(Gtk::Align::CENTER);
    cancel_.signal_clicked().connect([this] { signalCancel.emit(); });
    append(cancel_);
}

void ReadingView::update(const MailState& state) {
    const bool isScanning = state.kind == MailState::Kind::scanning;
    spinner_.set_spinning(isScanning || state.kind == MailState::Kind::checking);
    if (!spinner_.get_spinning()) return;
    label_.set_text(isScanning && state.found > 0
                        ? i18n::trCount("Reading your mailboxes… %lld messages so far", state.found)
                        : i18n::tr("Reading your mailboxes…"));
}

}   // namespace ostrel
