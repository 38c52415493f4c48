#include "ui/SettingsWindow.h"

#include "platform/Text.h"
#include "platform/Translation.h"
#include "ui/sheets/OptionRows.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Headline.h"
#include "ui/widgets/Labels.h"
#include "ui/widgets/TextScale.h"

#include <gtkmm/headerbar.h>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int width = 560, height = 560, margin = 24, spacing = 12;

}   // namespace

SettingsWindow::SettingsWindow(AppModel& model) : model_(model), form_(Gtk::Orientation::VERTICAL, 2 * spacing) {
    set_title(tr("Settings"));
    set_default_size(textScale::scaled(width), textScale::scaled(height));

    addMailFolder(addSection(tr("Mail folder")));
    addExports(addSection(tr("Exports")));
    auto& welcome = *Gtk::make_managed<Gtk::Button>();
    mnemonics_.write(welcome, tr("Show the Welcome Screen Again"));
    welcome.set_action_name("app.show-welcome");
    welcome.set_halign(Gtk::Align::START);
    addSection(tr("Getting started")).append(welcome);

    // One page today, named all the same: the help sends people to "Settings › General".
    auto& general = *Gtk::make_managed<Headline>("gearshape", tr("General"));
    general.add_css_class("heading");
    general.set_halign(Gtk::Align::CENTER);
    general.set_valign(Gtk::Align::CENTER);
    auto& bar = *Gtk::make_managed<Gtk::HeaderBar>();
    bar.set_title_widget(general);
    set_titlebar(bar);
    form_.set_margin(margin);
    scroller_.set_child(form_);
    scroller_.set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    set_child(scroller_);
    subscription_ = model_.settings.observe([this] { showFolder(); });
    showFolder();
}

Gtk::Box& SettingsWindow::addSection(const std::string& title) {
    auto& section = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, spacing);
    auto& heading = *Gtk::make_managed<Gtk::Label>(title);
    heading.add_css_class("heading");
    wrapFromLeft(heading);
    section.append(heading);
    form_.append(section);
    return section;
}

void SettingsWindow::addMailFolder(Gtk::Box& section) {
    auto& row = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, spacing);
    auto& name = *Gtk::make_managed<Gtk::Label>(tr("Reading from"));
    name.set_yalign(0);
    wrapFromLeft(folder_);
    folder_.set_wrap_mode(Pango::WrapMode::CHAR);
    folder_.set_selectable();
    folder_.set_hexpand();
    row.append(name);
    row.append(folder_);
    auto& note = *Gtk::make_managed<Gtk::Label>(
        tr("Ostrel only reads Mail’s files. It never changes, moves or deletes your mail."));
    wrapFromLeft(note);
    note.add_css_class("caption");
    note.add_css_class("dim-label");
    auto& buttons = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, spacing);
    mnemonics_.write(choose_, tr("Choose a Folder…"));
    choose_.set_action_name("app.choose-folder");
    auto& standard = *Gtk::make_managed<Gtk::Button>();
    mnemonics_.write(standard, tr("Use Apple Mail’s Folder"));
    standard.set_action_name("app.use-default-folder");
    buttons.append(choose_);
    buttons.append(standard);
    for (Gtk::Widget* each : std::initializer_list<Gtk::Widget*>{&row, &note, &buttons}) section.append(*each);
}

void SettingsWindow::addExports(Gtk::Box& section) {
    section.append(*Gtk::make_managed<SwitchRow>(model_, tr("Save attachments beside each PDF"),
                                                 &AppSettings::includeAttachments));
    section.append(*Gtk::make_managed<SwitchRow>(model_, tr("Write an index (index.csv)"), &AppSettings::includeIndex));
    section.append(*Gtk::make_managed<SwitchRow>(
        model_, tr("Skip duplicate messages (the same Message-ID in two mailboxes)"), &AppSettings::skipDuplicates));
    section.append(*Gtk::make_managed<PaperRow>(model_));
}

// Else the folder's text would take the focus, and select itself. Before, the button has no action to be active for.
void SettingsWindow::on_show() {
    set_focus(choose_);
    Gtk::Window::on_show();
}

void SettingsWindow::showFolder() {
    const auto& folder = model_.settings.get().mailFolder;
    folder_.set_text(folder ? text::toValidUTF8(*folder) : tr("Apple Mail (~/Library/Mail)"));
}

}   // namespace ostrel
