#include "ui/About.h"

#include "platform/Translation.h"
#include "ui/Contact.h"
#include "ui/DesktopServices.h"
#include "ui/widgets/ApplicationID.h"

#include <string>

#include <adwaita.h>

namespace ostrel {

using i18n::tr;

void showAbout(Gtk::Window* parent) {
    const std::string credits =
        tr("Export Apple Mail messages to searchable PDFs, with attachments and an index") + "\n" +
        i18n::filled(tr("Read-only: your mail stays on this Mac and is never changed. Questions: %@"),
                     contact::supportAddress);
    GtkWidget* const about = adw_about_window_new();   // lives until it is closed
    g_object_set(about, "title", tr("About Ostrel").c_str(), "application-name", tr("Ostrel").c_str(),
                 "application-icon", applicationID, "version", OSTREL_VERSION, "comments", credits.c_str(), "website",
                 contact::webSite, "support-url", (std::string("mailto:") + contact::supportAddress).c_str(),
                 "transient-for", parent != nullptr ? parent->gobj() : nullptr, "modal", parent != nullptr, nullptr);
    // The window's own way would start a browser with what is meant for the engine.
    g_signal_connect(about, "activate-link", G_CALLBACK(+[](GtkWidget*, const char* address, gpointer) -> gboolean {
                         DesktopServices::openLink(address);
                         return TRUE;
                     }),
                     nullptr);
    gtk_window_present(GTK_WINDOW(about));
}

}   // namespace ostrel
