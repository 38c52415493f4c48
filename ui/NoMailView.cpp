#include "ui/NoMailView.h"

#include "platform/Text.h"
#include "platform/Translation.h"

namespace ostrel {

using i18n::tr;

NoMailView::NoMailView(AppModel& model, Mnemonics mnemonics)
    : EmptyState("envelope.badge.shield.half.filled", tr("No Mail folder found"), ""), model_(model) {
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
    show();
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
