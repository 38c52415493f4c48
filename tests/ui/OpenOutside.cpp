// Opens something in a program that is not ours, as the window does, behind its wall and with all that it has
// prepared for the engine: open-outside link ADDRESS | folder PATH | settings. Ends when it is told to.

#include "platform/Environment.h"
#include "platform/NetworkWall.h"
#include "platform/Translation.h"
#include "render/engine/DesktopEngine.h"
#include "render/loop/MainLoop.h"
#include "ui/DesktopServices.h"
#include "ui/Launcher.h"

#include <string_view>

#include <glibmm/init.h>
#include <gtk/gtk.h>
#include <gtkmm/application.h>

int main(int argc, char** argv) {
    using namespace ostrel;
    const std::string_view what = argc > 1 ? argv[1] : "";
    launcher::start();
    if (!networkWall::raise()) return 4;   // nothing that others must not inherit
    i18n::start();
    gtk_disable_setlocale();
    Glib::set_init_to_users_preferred_locale(false);
    const DesktopEngine engine;
    if (!environment::value("WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS")) return 3;   // nothing to take back
    bool isToldToEnd = false;
    mainLoop::onInterrupt([&isToldToEnd] { isToldToEnd = true; });
    const auto application = Gtk::Application::create();
    DesktopServices desktop(*application, [] { return nullptr; });
    if (what == "link") DesktopServices::openLink(argv[2]);
    if (what == "folder") desktop.reveal(argv[2]);
    if (what == "settings") DesktopServices::openPrivacySettings();
    mainLoop::turnUntil([&isToldToEnd] { return isToldToEnd; });
}
