// ostrel: the window.

#include "platform/Translation.h"
#include "render/engine/EngineHome.h"
#include "render/engine/EngineLibraries.h"
#include "render/engine/EngineSandbox.h"
#include "render/engine/ReducedFonts.h"
#include "render/loop/MainLoop.h"
#include "ui/Application.h"
#include "ui/ApplicationID.h"

#include <iostream>

#include <glibmm/init.h>
#include <glibmm/miscutils.h>
#include <gtk/gtk.h>

namespace {

// What the engine needs to find when it starts, while there is one thread only.
void prepare(const ostrel::EngineHome& home) {
    const auto cache = ostrel::usersCache();
    home.moveCacheIn();
    if (!ostrel::reducedFonts::provide(cache)) ostrel::reducedFonts::provide(home.path());
    ostrel::engineLibraries::storeStreams();
    if (!ostrel::engineSandbox::allowOrDoWithout())
        std::cerr << ostrel::i18n::tr("The web engine runs without its sandbox: this system does not allow one.")
                  << '\n';
}

}   // namespace

int main() {
    using namespace ostrel;
    i18n::start();
    // The locale is set as far as it may be; the toolkit would set a decimal comma too, for everybody.
    gtk_disable_setlocale();
    Glib::set_init_to_users_preferred_locale(false);
    Glib::set_prgname(applicationID);   // by which the desktop finds the window's icon
    const EngineHome home;
    prepare(home);
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
