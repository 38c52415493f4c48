#include "ui/sheets/WelcomeSheet.h"

#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/ApplicationID.h"
#include "ui/widgets/Labels.h"
#include "ui/widgets/Symbols.h"

#include <gtkmm/image.h>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int iconSize = 64, featureSymbolSize = 24, spacing = 12, lineCharacters = 50;

Gtk::Widget& feature(const char* symbol, const std::string& title, const std::string& text) {
    auto& row = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, spacing);
    auto& image = *Gtk::make_managed<Gtk::Image>();
    image.set_from_icon_name(symbols::iconName(symbol));
    image.set_pixel_size(featureSymbolSize);
    image.set_valign(Gtk::Align::START);
    auto& texts = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, 3);
    auto& heading = *Gtk::make_managed<Gtk::Label>(title);
    auto& description = *Gtk::make_managed<Gtk::Label>(text);
    heading.add_css_class("heading");
    for (Gtk::Label* label : {&heading, &description}) {
        wrapFromLeft(*label);
        texts.append(*label);
    }
    texts.set_hexpand();
    row.append(image);
    row.append(texts);
    // One element to a screen reader.
    g_object_set(row.gobj(), "accessible-role", GTK_ACCESSIBLE_ROLE_GROUP, nullptr);
    accessible::setLabel(row, title + ". " + text);
    for (Gtk::Widget* part : std::initializer_list<Gtk::Widget*>{&image, &heading, &description})
        accessible::hide(*part);
    return row;
}

}   // namespace

WelcomeSheet::WelcomeSheet(AppModel& model, Gtk::Window& parent) : SheetWindow(model, parent, tr("Welcome to Ostrel")) {
    auto& icon = *Gtk::make_managed<Gtk::Image>();
    icon.set_from_icon_name(applicationID);
    icon.set_pixel_size(iconSize);
    icon.set_halign(Gtk::Align::CENTER);
    accessible::hide(icon);
    auto& title = *Gtk::make_managed<Gtk::Label>(tr("Welcome to Ostrel"));
    title.add_css_class("title-1");
    wrapCentered(title, lineCharacters);
    auto& subtitle = *Gtk::make_managed<Gtk::Label>(
        tr("Export Apple Mail messages to searchable PDFs, with attachments and an index"));
    subtitle.add_css_class("dim-label");
    wrapCentered(subtitle, lineCharacters);
    subtitle.set_halign(Gtk::Align::CENTER);
    for (Gtk::Widget* part : std::initializer_list<Gtk::Widget*>{&icon, &title, &subtitle}) content().append(*part);

    auto& features = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, spacing + spacing / 2);
    features.set_margin_top(spacing);
    features.append(feature(
        "tray.full", tr("Your Mail, ready to keep"),
        tr("Pick mailboxes, a date range, a person or words in the subject, and see each message as it will look.")));
    features.append(feature(
        "doc.richtext", tr("One PDF per message"),
        tr("Searchable PDFs with the header and text, attachments saved beside them, and an index for spreadsheets.")));
    features.append(
        feature("lock.shield", tr("Read-only and private"),
                tr("Ostrel never changes your mail, never loads remote images, and nothing leaves this Mac. Next, it "
                   "asks for Full Disk Access to read Mail’s folder.")));
    features.append(
        feature("folder", tr("Where your mail comes from"),
                tr("A Mac keeps Apple Mail’s messages in the folder Library/Mail of its user. Copy that folder to this "
                   "computer, "
                   "or connect a backup disk or network drive that has it, and choose it, or drop it on the window.")));
    content().append(features);

    auto& help = *Gtk::make_managed<Gtk::Button>();
    help.set_action_name("app.help");
    auto& start = *Gtk::make_managed<Gtk::Button>();
    start.add_css_class("suggested-action");
    start.signal_clicked().connect([this] { begin(); });
    addButton(help, tr("Help"));
    addButton(start, tr("Get Started"));
    set_default_widget(start);
    set_focus(start);
    fit();
}

void WelcomeSheet::begin() {
    AppSettings settings = model().settings.get();
    settings.onboardingDone = true;
    model().settings.set(std::move(settings));
    model().sheet.set(std::nullopt);
}

}   // namespace ostrel
