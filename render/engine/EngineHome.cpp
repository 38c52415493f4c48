#include "render/engine/EngineHome.h"

#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/UserFolders.h"
#include "render/overrides/Register.h"

#include <unistd.h>

namespace ostrel {
namespace {

bool canWriteIn(const std::filesystem::path& folder) {
    try {
        files::createFolders(folder);
    } catch (const FileError&) {
        return false;
    }
    return access(folder.c_str(), W_OK | X_OK) == 0;
}

}   // namespace

std::filesystem::path usersCache() { return cacheFolder(); }

void EngineHome::moveIn() const {
    constexpr struct {
        const char* variable;
        const char* usual;
        int access;
    } kept[] = {{"XDG_CONFIG_HOME", ".config", R_OK | X_OK},
                {"XDG_DATA_HOME", ".local/share", W_OK | X_OK},
                {"XAUTHORITY", ".Xauthority", R_OK}};
    const std::filesystem::path usersHome = homeFolder();
    for (const auto& [variable, usual, needed] : kept) {
        const std::filesystem::path file = environment::value(variable).value_or(usersHome / usual);
        if (file.is_absolute() && access(file.c_str(), needed) == 0) {
            environment::set(variable, file);
        } else {
            environment::unset(variable);
        }
    }
    environment::set("HOME", path());
    overrides::report(overrides::Override::engineHome, overrides::Effect::active);
    // The sandbox contains this folder, and so nothing of the session's bus, only if it is there.
    files::createFolders(path() / ".cache");
    environment::set("XDG_CACHE_HOME", path() / ".cache");
    // A Wayland display is named in the runtime folder.
    if (!environment::value("DISPLAY") && environment::value("WAYLAND_DISPLAY")) return;
    environment::unset("XDG_RUNTIME_DIR");
    environment::unset("WAYLAND_DISPLAY");
}

void EngineHome::moveCacheIn() const {
    using namespace overrides;
    if (canWriteIn(usersCache() / "ostrel"))
        return report(Override::engineHome, Effect::notNeeded, "the user’s cache can be written");
    report(Override::engineHome, Effect::active);
    files::createFolders(path() / ".cache");
    environment::set("XDG_CACHE_HOME", path() / ".cache");
}

}   // namespace ostrel
