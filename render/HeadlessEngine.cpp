#include "render/HeadlessEngine.h"

#include "platform/SettingsStore.h"
#include "render/DisplayLoss.h"
#include "render/EngineSandbox.h"
#include "render/MainLoop.h"
#include "render/PrivateDisplay.h"
#include "render/ReducedFonts.h"
#include "render/TemporaryFolder.h"

#include <cassert>
#include <cstdlib>
#include <stdexcept>
#include <utility>

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

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
}

// Folders that are not absolute do not count (XDG Base Directory 0.8).
std::filesystem::path usersCache() {
    const std::filesystem::path named = isSet("XDG_CACHE_HOME") ? std::getenv("XDG_CACHE_HOME") : "";
    return named.is_absolute() ? named : homeFolder() / ".cache";
}

// A private home for the engine. It fills the user's with files that nobody reads again, and ends the program where its
// sandbox cannot be made of the user's folders: after su the home or the runtime folder may be another user's, a
// service has none, a home may be read-only. What is read there, and can be, keeps its place.
void moveHome(const std::filesystem::path& home) {
    constexpr struct {
        const char* variable;
        const char* usual;
        int access;
    } kept[] = {{"XDG_CONFIG_HOME", ".config", R_OK | X_OK},
                {"XDG_DATA_HOME", ".local/share", W_OK | X_OK},
                {"XAUTHORITY", ".Xauthority", R_OK}};
    const std::filesystem::path usersHome = homeFolder();
    for (const auto& [variable, usual, needed] : kept) {
        const std::filesystem::path path = isSet(variable) ? std::getenv(variable) : usersHome / usual;
        if (path.is_absolute() && access(path.c_str(), needed) == 0) {
            setenv(variable, path.c_str(), 1);
        } else {
            unsetenv(variable);
        }
    }
    setenv("HOME", home.c_str(), 1);
    // The sandbox contains this folder, and so nothing of the session's bus, only if it is there.
    std::filesystem::create_directory(home / ".cache");
    setenv("XDG_CACHE_HOME", (home / ".cache").c_str(), 1);
    // A Wayland display is named in the runtime folder.
    if (!isSet("DISPLAY") && isSet("WAYLAND_DISPLAY")) return;
    unsetenv("XDG_RUNTIME_DIR");
    unsetenv("WAYLAND_DISPLAY");
}

}   // namespace

HeadlessEngine::HeadlessEngine(std::function<void()> displayLost)
    : home_(std::make_unique<TemporaryFolder>("ostrel-engine-")) {
    assert(mainLoop::isMainThread());
    doWithoutDesktopServices();
    const std::filesystem::path cache = usersCache();
    moveHome(home_->path());
    if (!reducedFonts::provide(cache)) reducedFonts::provide(home_->path());
    isSandboxed_ = engineSandbox::allowOrDoWithout();
    if (PrivateDisplay::isNeeded()) display_ = std::make_unique<PrivateDisplay>();
    // Nothing of the toolkit is shown; a locale that the C library lacks would only be warned about.
    gtk_disable_setlocale();
    if (!gtk_init_check()) throw std::runtime_error("The display cannot be used.");
    displayLoss::survive(std::move(displayLost));
}

HeadlessEngine::~HeadlessEngine() {
    // The toolkit ends the program when its display goes away under it.
    if (GdkDisplay* display = gdk_display_get_default()) gdk_display_close(display);
}

}   // namespace ostrel
