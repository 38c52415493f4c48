#include "render/engine/EngineHome.h"

#include "platform/Files.h"
#include "platform/SettingsStore.h"

#include <cstdlib>

#include <unistd.h>

namespace ostrel {
namespace {

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
}

bool canWriteIn(const std::filesystem::path& folder) {
    try {
        files::createFolders(folder);
    } catch (const FileError&) {
        return false;
    }
    return access(folder.c_str(), W_OK | X_OK) == 0;
}

}   // namespace

std::filesystem::path usersCache() {
    const std::filesystem::path named = isSet("XDG_CACHE_HOME") ? std::getenv("XDG_CACHE_HOME") : "";
    return named.is_absolute() ? named : homeFolder() / ".cache";
}

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
        const std::filesystem::path file = isSet(variable) ? std::getenv(variable) : usersHome / usual;
        if (file.is_absolute() && access(file.c_str(), needed) == 0) {
            setenv(variable, file.c_str(), 1);
        } else {
            unsetenv(variable);
        }
    }
    setenv("HOME", path().c_str(), 1);
    // The sandbox contains this folder, and so nothing of the session's bus, only if it is there.
    files::createFolders(path() / ".cache");
    setenv("XDG_CACHE_HOME", (path() / ".cache").c_str(), 1);
    // A Wayland display is named in the runtime folder.
    if (!isSet("DISPLAY") && isSet("WAYLAND_DISPLAY")) return;
    unsetenv("XDG_RUNTIME_DIR");
    unsetenv("WAYLAND_DISPLAY");
}

void EngineHome::moveCacheIn() const {
    if (canWriteIn(usersCache() / "ostrel")) return;
    files::createFolders(path() / ".cache");
    setenv("XDG_CACHE_HOME", (path() / ".cache").c_str(), 1);
}

}   // namespace ostrel
