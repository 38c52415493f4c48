// ostrel: the window.

#include "platform/Environment.h"
#include "platform/NetworkWall.h"
#include "platform/Translation.h"
#include "render/engine/DesktopEngine.h"
#include "render/loop/MainLoop.h"
#include "ui/Application.h"
#include "ui/Launcher.h"
#include "ui/widgets/ApplicationID.h"

#include <iostream>

#include <glibmm/init.h>
#include <glibmm/miscutils.h>
#include <gtk/gtk.h>

namespace {

// The toolkit's renderer for GL takes seconds to start where GL is done by software, and more memory than the rest of
// the window; the other one draws a window of text as fast as anybody scrolls. The engine hands its pages over through
// GL too unless told not to, and where the display has none that ends the program.
void drawWithoutGL() {
    ostrel::environment::setIfAbsent("GSK_RENDERER", "cairo");
    ostrel::environment::set("WEBKIT_DISABLE_DMABUF_RENDERER", "1");
}

// One that is reached by the network, as behind ssh -X, could not be opened behind the wall.
bool isDisplayRemote() {
    const auto display = ostrel::environment::value("DISPLAY");
    if (!display || ostrel::environment::value("WAYLAND_DISPLAY")) return false;
    return !display->starts_with(':') && !display->starts_with('/') && !display->starts_with("unix:");
}

}   // namespace

int main() {
    using namespace ostrel;
    launcher::start();
    const bool isWalledOff = !isDisplayRemote() && networkWall::raise();
    i18n::start();
    drawWithoutGL();
    // The locale is set as far as it may be; the toolkit would set a decimal comma too, for everybody.
    gtk_disable_setlocale();
    Glib::set_init_to_users_preferred_locale(false);
    Glib::set_prgname(applicationID);   // by which the desktop finds the window's icon
    const DesktopEngine engine;
    if (!isWalledOff)
        std::cerr << i18n::tr("This system cannot close the network to a program: only Ostrel’s own rules do.") << '\n';
    if (!engine.isSandboxed())
        std::cerr << i18n::tr("The web engine runs without its sandbox: this system does not allow one.") << '\n';
    Application* running = nullptr;
    mainLoop::onInterrupt([&running] {
        if (running != nullptr) running->end();
    });
    const auto application = Glib::make_refptr_for_instance(new Application);
    running = application.get();
    Glib::set_application_name(Glib::ustring(i18n::tr("Ostrel")));
    const int status = application->run();
    running = nullptr;
    return status;
}
