#include "ui/NoMailView.h"

#include "platform/Files.h"
#include "platform/Text.h"
#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"

#include <algorithm>
#include <cstddef>

#include <gtkmm/label.h>

namespace ostrel {

using i18n::tr;

namespace {

constexpr int spacing = 12, pathCharacters = 36;
constexpr std::size_t maxFound = 4;

}   // namespace

NoMailView::NoMailView(AppModel& model, Mnemonics mnemonics)
    : EmptyState("envelope.badge.shield.half.filled", tr("No Mail folder found"), ""),
      model_(model),
      found_(Gtk::Orientation::VERTICAL, spacing) {
    add(found_);
    mnemonics.write(choose_, tr("Choose a Folder…"));
    mnemonics.write(standard_, tr("Use Apple Mail’s Folder"));
    mnemonics.write(again_, tr("Check Again"));
    choose_.set_action_name("app.choose-folder");
    choose_.add_css_class("suggested-action");
    standard_.set_action_name("app.use-default-folder");
    again_.set_action_name("app.reload");
    for (Gtk::Button* button : {&choose_, &standard_, &again_}) addButton(*button);
    subscriptions_.push_back(model_.settings.observe([this] { show(); }));
    subscriptions_.push_back(model_.state.observe([this] { show(); }));
    subscriptions_.push_back(model_.foundFolders.observe([this] { showFound(); }));
    show();
    showFound();
}

void NoMailView::showFound() {
    while (Gtk::Widget* child = found_.get_first_child()) found_.remove(*child);
    const auto& folders = model_.foundFolders.get();
    found_.set_visible(!folders.empty());
    auto& title = *Gtk::make_managed<Gtk::Label>();
    accessible::setRole(title, GTK_ACCESSIBLE_ROLE_STATUS);   // it comes late
    title.set_text(tr("Found on this computer:"));
    found_.append(title);
    for (std::size_t i = 0; i < std::min(folders.size(), maxFound); ++i) {
        const std::string path = displayText(folders[i]);
        auto& name = *Gtk::make_managed<Gtk::Label>(path);
        name.set_ellipsize(Pango::EllipsizeMode::MIDDLE);
        name.set_max_width_chars(pathCharacters);
        auto& button = *Gtk::make_managed<Gtk::Button>();
        button.set_child(name);
        button.set_tooltip_text(path);
        button.add_css_class("pill");
        accessible::setLabel(button, path);
        button.signal_clicked().connect([&model = model_, folder = folders[i]] { model.openFolder(folder); });
        found_.append(button);
    }
}

void NoMailView::show() {
    const auto& folder = model_.settings.get().mailFolder;
    standard_.set_visible(folder.has_value());
    if (model_.state.get().kind == MailState::Kind::stopped) {
        setTitle(tr("Reading was stopped"));
        setDescription(tr("Your mailboxes have not been read to the end. Read them again, or choose another folder."));
        return;
    }
    setTitle(tr("No Mail folder found"));
    setDescription(
        folder
            ? i18n::filled(tr("The folder “%@” isn’t there any more. Choose another, or go back to Apple Mail’s "
                              "folder."),
                           text::toValidUTF8(*folder))
            : tr("Apple Mail hasn’t saved any mail on this Mac yet. Open Mail and add an account, or choose a copy of "
                 "a Mail folder."));
}

}   // namespace ostrel
