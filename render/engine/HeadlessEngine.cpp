#include "render/engine/HeadlessEngine.h"

#include "platform/Environment.h"
#include "platform/Translation.h"
#include "render/engine/DisplayLoss.h"
#include "render/engine/EngineHome.h"
#include "render/engine/EngineLibraries.h"
#include "render/engine/EngineSandbox.h"
#include "render/engine/EngineThrift.h"
#include "render/engine/PrivateDisplay.h"
#include "render/engine/ReducedFonts.h"
#include "render/loop/Log.h"
#include "render/loop/MainLoop.h"
#include "render/overrides/Register.h"

#include <cassert>
#include <stdexcept>
#include <utility>

#include <gtk/gtk.h>

namespace ostrel {
namespace {

// Where there is no session, each of these services is searched for, waited for or warned about.
void doWithoutDesktopServices() {
    environment::set("GTK_A11Y", "none");
    environment::set("WEBKIT_A11Y_BUS_ADDRESS", "");
    environment::set("GSETTINGS_BACKEND", "memory");
    environment::set("GIO_USE_VFS", "local");
    environment::set("GIO_USE_PORTALS", "0");
    environment::set("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    environment::set("DBUS_SYSTEM_BUS_ADDRESS", "disabled:");
}

}   // namespace

HeadlessEngine::HeadlessEngine(std::function<void()> displayLost) : home_(std::make_unique<EngineHome>()) {
    assert(mainLoop::isMainThread());
    engineLog::useStandardError();
    overrides::logTakenAway();
    if (overrides::isWanted(overrides::Override::noServices)) doWithoutDesktopServices();
    engineThrift::settle();
    const std::filesystem::path cache = usersCache();
    home_->moveIn();
    reducedFonts::provide(cache, home_->path());
    engineLibraries::storeStreams();
    isSandboxed_ = engineSandbox::allowOrDoWithout();
    if (PrivateDisplay::isNeeded()) {
        display_ = std::make_unique<PrivateDisplay>();
        overrides::report(overrides::Override::privateDisplay, overrides::Effect::active);
    }
    // Nothing of the toolkit is shown; a locale that the C library lacks would only be warned about.
    gtk_disable_setlocale();
    if (!gtk_init_check()) throw std::runtime_error(i18n::tr("The display cannot be used."));
    displayLoss::survive(std::move(displayLost));
}

HeadlessEngine::~HeadlessEngine() {
    // The toolkit ends the program when its display goes away under it.
    if (GdkDisplay* display = gdk_display_get_default()) gdk_display_close(display);
}

}   // namespace ostrel
