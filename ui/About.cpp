#include "ui/About.h"

#include "platform/Translation.h"
#include "ui/ApplicationID.h"
#include "ui/Contact.h"
#include "ui/DesktopServices.h"

#include <glibmm/main.h>
#include <gtkmm/aboutdialog.h>
#include <gtkmm/label.h>

namespace ostrel {

using i18n::tr;

namespace {

constexpr int lineCharacters = 42;

// The panel makes its own labels, and opens with the first that can be selected focused and selected.
void adjustLabels(Gtk::Widget& part, const std::string& credits) {
    if (auto* label = dynamic_cast<Gtk::Label*>(&part)) {
        label->set_selectable(false);
        if (label->get_text().raw() == credits) {
            label->add_css_class("caption");
            label->add_css_class("dim-label");
            label->set_max_width_chars(lineCharacters);
            label->set_halign(Gtk::Align::CENTER);   // else its lines are as long as the panel is wide
        }
    }
    for (Gtk::Widget* child = part.get_first_child(); child != nullptr; child = child->get_next_sibling())
        adjustLabels(*child, credits);
}

}   // namespace

void showAbout(Gtk::Window* parent) {
    auto* about = new Gtk::AboutDialog;   // lives until it is closed
    about->set_title(tr("About Ostrel"));
    about->set_program_name(tr("Ostrel"));
    about->set_version(OSTREL_VERSION);
    about->set_logo_icon_name(applicationID);
    const std::string credits =
        tr("Export Apple Mail messages to searchable PDFs, with attachments and an index") + "\n" +
        i18n::filled(tr("Read-only: your mail stays on this Mac and is never changed. Questions: %@"),
                     contact::supportAddress);
    about->set_comments(credits);
    about->set_website(contact::webSite);
    about->set_website_label(contact::webSite);
    about->signal_activate_link()
        .connect(   // the panel's own way would start a browser with what is meant for the engine
            [](const Glib::ustring& address) {
                DesktopServices::openLink(address);
                return true;
            },
            false);
    adjustLabels(*about, credits);
    if (parent != nullptr) about->set_transient_for(*parent);
    about->set_modal(parent != nullptr);
    about->signal_hide().connect([about] { Glib::signal_idle().connect_once([about] { delete about; }); });
    about->present();
}

}   // namespace ostrel
