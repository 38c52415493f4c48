#include "ui/NoMailView.h"

#include "platform/Text.h"
#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Labels.h"
#include "ui/widgets/Symbols.h"

namespace ostrel {
namespace {

using i18n::tr;

constexpr int margin = 24, spacing = 12, symbolSize = 64, lineCharacters = 56;

}   // namespace

NoMailView::NoMailView(AppModel& model, Mnemonics mnemonics)
    : model_(model),
      content_(Gtk::Orientation::VERTICAL, spacing),
      buttons_(Gtk::Orientation::HORIZONTAL, spacing),
      title_(tr("No Mail folder found")) {
    image_.set_from_icon_name(symbols::iconName("envelope.badge.shield.half.filled"));
    image_.set_pixel_size(symbolSize);
    image_.add_css_class("dim-label");
    accessible::hide(image_);
    title_.add_css_class("title-2");
    for (Gtk::Label* label : {&title_, &text_}) wrapCentered(*label, lineCharacters);
    mnemonics.write(choose_, tr("Choose a Folder…"));
    mnemonics.write(standard_, tr("Use Apple Mail’s Folder"));
    mnemonics.write(again_, tr("Check Again"));
    choose_.set_action_name("app.choose-folder");
    choose_.add_css_class("suggested-action");
    standard_.set_action_name("app.use-default-folder");
    again_.set_action_name("app.reload");
    for (Gtk::Button* button : {&choose_, &standard_, &again_}) buttons_.append(*button);
    buttons_.set_halign(Gtk::Align::CENTER);
    buttons_.set_margin_top(spacing);
    for (Gtk::Widget* each : std::initializer_list<Gtk::Widget*>{&image_, &title_, &text_, &buttons_})
        content_.append(*each);
    content_.set_margin(margin);
    content_.set_halign(Gtk::Align::CENTER);
    content_.set_valign(Gtk::Align::CENTER);
    set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    set_child(content_);
    subscription_ = model_.settings.observe([this] { show(); });
    show();
}

void NoMailView::show() {
    const auto& folder = model_.settings.get().mailFolder;
    text_.set_text(
        folder
            ? i18n::filled(tr("The folder “%@” isn’t there any more. Choose another, or go back to Apple Mail’s "
                              "folder."),
                           text::toValidUTF8(*folder))
            : tr("Apple Mail hasn’t saved any mail on this Mac yet. Open Mail and add an account, or choose a copy of "
                 "a Mail folder."));
    standard_.set_visible(folder.has_value());
}

}   // namespace ostrel
