#include "ui/ExportBar.h"

#include "platform/Translation.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Mnemonics.h"

namespace ostrel {

ExportBar::ExportBar(AppModel& model, Mnemonics& mnemonics)
    : Gtk::Box(Gtk::Orientation::HORIZONTAL, 12), model_(model) {
    add_css_class("bar");
    add_css_class("export-bar");
    accessible::setRole(count_, GTK_ACCESSIBLE_ROLE_STATUS);   // told when it changes
    count_.add_css_class("numeric");
    count_.set_ellipsize(Pango::EllipsizeMode::END);
    count_.set_xalign(0);
    count_.set_hexpand();
    export_.add_css_class("suggested-action");
    export_.set_action_name("app.export");
    mnemonics.write(export_, i18n::tr("Export to PDF…"));
    append(count_);
    append(export_);
    subscriptions_.push_back(model_.messages.observe([this] { show(); }));
    show();
}

void ExportBar::show() { count_.set_text(i18n::trCount("%lld messages", model_.messages.get().size())); }

}   // namespace ostrel
