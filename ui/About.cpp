#include "ui/About.h"

#include "platform/Translation.h"
#include "ui/ApplicationID.h"
#include "ui/Contact.h"

#include <glibmm/main.h>
#include <gtkmm/aboutdialog.h>

namespace ostrel {

using i18n::tr;

void showAbout(Gtk::Window* parent) {
    auto* about = new Gtk::AboutDialog;   // lives until it is closed
    about->set_title(tr("About Ostrel"));
    about->set_program_name(tr("Ostrel"));
    about->set_version(OSTREL_VERSION);
    about->set_logo_icon_name(applicationID);
    about->set_comments(tr("Export Apple Mail messages to searchable PDFs, with attachments and an index") + "\n" +
                        i18n::filled(tr("Read-only: your mail stays on this Mac and is never changed. Questions: %@"),
                                     contact::supportAddress));
    about->set_website(contact::webSite);
    about->set_website_label(contact::webSite);
    if (parent != nullptr) about->set_transient_for(*parent);
    about->set_modal(parent != nullptr);
    about->signal_hide().connect([about] { Glib::signal_idle().connect_once([about] { delete about; }); });
    about->present();
}

}   // namespace ostrel
