#include "render/HeadlessEngine.h"

#include "platform/Files.h"
#include "platform/SettingsStore.h"
#include "render/EngineSandbox.h"
#include "render/MainLoop.h"
#include "render/PrivateDisplay.h"
#include "render/ReducedFonts.h"
#include "render/TemporaryFolder.h"

#include <cassert>
#include <cstdlib>
#include <stdexcept>

#include <gtk/gtk.h>
#include <unistd.h>

namespace ostrel {
namespace {

// Where there is no session, each of these services is searched for, waited for or warned about.
void doWithoutDesktopServices() {
    setenv("GTK_A11Y", "none", 1);
    setenv("WEBKIT_A11Y_BUS_ADDRESS", "", 1);
    setenv("GSETTINGS_BACKEND", "memory", 1);
    setenv("GIO_USE_VFS", "local", 1);
    setenv("GIO_USE_PORTALS", "0", 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
}

// The engine's sandbox cannot be made, and the program ends, where there is no cache folder: in a home that is
// read-only or not there. Gives it one that goes with this program.
std::unique_ptr<TemporaryFolder> standInForCache() {
    const char* named = std::getenv("XDG_CACHE_HOME");
    const std::filesystem::path cache = named && *named == '/' ? std::filesystem::path(named) : homeFolder() / ".cache";
    try {
        files::createFolders(cache / "ostrel");
        if (access((cache / "ostrel").c_str(), W_OK) == 0) return nullptr;
    } catch (const FileError&) {
        // As said above.
    }
    auto standIn = std::make_unique<TemporaryFolder>("ostrel-cache-");
    setenv("XDG_CACHE_HOME", standIn->path().c_str(), 1);
    return standIn;
}

}   // namespace

HeadlessEngine::HeadlessEngine() {
    assert(mainLoop::isMainThread());
    doWithoutDesktopServices();
    cache_ = standInForCache();
    reducedFonts::provide();
    isSandboxed_ = engineSandbox::allowOrDoWithout();
    if (PrivateDisplay::isNeeded()) display_ = std::make_unique<PrivateDisplay>();
    // Nothing of the toolkit is shown; a locale that the C library lacks would only be warned about.
    gtk_disable_setlocale();
    if (!gtk_init_check()) throw std::runtime_error("The display cannot be used.");
}

HeadlessEngine::~HeadlessEngine() {
    // The toolkit ends the program when its display goes away under it.
    if (GdkDisplay* display = gdk_display_get_default()) gdk_display_close(display);
}

}   // namespace ostrel
