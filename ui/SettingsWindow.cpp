#include "ui/SettingsWindow.h"

#include "platform/Text.h"
#include "platform/Translation.h"
#include "ui/sheets/OptionRows.h"
#include "ui/widgets/Headline.h"
#include "ui/widgets/Labels.h"
#include "ui/widgets/Preferences.h"
#include "ui/widgets/TextScale.h"
#include "ui/widgets/WrapBox.h"

#include <gtkmm/headerbar.h>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int width = 600, height = 680, spacing = 12, pathCharacters = 32;

}   // namespace

SettingsWindow::SettingsWindow(AppModel& model)
    : model_(model), folder_(*Gtk::make_managed<Gtk::Label>()), choose_(*Gtk::make_managed<Gtk::Button>()) {
    set_title(tr("Settings"));
    set_default_size(textScale::scaled(width), textScale::scaled(height));
    // One page today, named all the same: the help sends people to "Settings › General".
    auto& general = *Gtk::make_managed<Headline>("gearshape", tr("General"));
    general.add_css_class("heading");
    general.set_halign(Gtk::Align::CENTER);
    general.set_valign(Gtk::Align::CENTER);
    auto& bar = *Gtk::make_managed<Gtk::HeaderBar>();
    bar.set_title_widget(general);
    set_titlebar(bar);
    set_child(preferences::makePage({&mailFolder(), &exports(), &gettingStarted()}));
    subscription_ = model_.settings.observe([this] { showFolder(); });
    showFolder();
}

Gtk::Widget& SettingsWindow::mailFolder() {
    wrapFromLeft(folder_);
    folder_.set_wrap_mode(Pango::WrapMode::CHAR);
    folder_.set_max_width_chars(pathCharacters);
    folder_.set_selectable();
    auto& row = preferences::makeRow(tr("Reading from"), folder_, preferences::Click::doesNothing);
    auto& standard = *Gtk::make_managed<Gtk::Button>();
    mnemonics_.write(choose_, tr("Choose a Folder…"));
    choose_.set_action_name("app.choose-folder");
    mnemonics_.write(standard, tr("Use Apple Mail’s Folder"));
    standard.set_action_name("app.use-default-folder");
    auto& buttons = *Gtk::make_managed<WrapBox>(spacing, spacing / 2);
    buttons.append(choose_);
    buttons.append(standard);
    buttons.set_margin_top(spacing);
    return preferences::makeGroup(tr("Mail folder"),
                                  tr("Ostrel only reads Mail’s files. It never changes, moves or deletes your mail."),
                                  {&row, &buttons});
}

Gtk::Widget& SettingsWindow::exports() {
    return preferences::makeGroup(
        tr("Exports"), "",
        {&makeSwitchRow(model_, tr("Save attachments beside each PDF"), &AppSettings::includeAttachments),
         &makeSwitchRow(model_, tr("Write an index (index.csv)"), &AppSettings::includeIndex),
         &makeSwitchRow(model_, tr("Skip duplicate messages (the same Message-ID in two mailboxes)"),
                        &AppSettings::skipDuplicates),
         &makePaperRow(model_)});
}

Gtk::Widget& SettingsWindow::gettingStarted() {
    auto& welcome = *Gtk::make_managed<Gtk::Button>();
    mnemonics_.write(welcome, tr("Show the Welcome Screen Again"));
    welcome.set_action_name("app.show-welcome");
    welcome.set_halign(Gtk::Align::START);
    return preferences::makeGroup(tr("Getting started"), "", {&welcome});
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
