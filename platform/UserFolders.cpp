#include "platform/UserFolders.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <string_view>

#include <pwd.h>
#include <unistd.h>

namespace ostrel {
namespace {

std::optional<std::filesystem::path> folderFromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    if (value == nullptr || *value != '/') return std::nullopt;
    return value;
}

std::filesystem::path folder(const char* variable, const char* inHome) {
    const auto named = folderFromEnvironment(variable);
    return named ? *named : homeFolder() / inHome;
}

}   // namespace

std::filesystem::path homeFolder() {
    if (const auto home = folderFromEnvironment("HOME")) return *home;
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> buffer;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
        return found->pw_dir;
    return "/";
}

std::filesystem::path configFolder() { return folder("XDG_CONFIG_HOME", ".config"); }
std::filesystem::path cacheFolder() { return folder("XDG_CACHE_HOME", ".cache"); }

std::vector<std::filesystem::path> dataFolders() {
    std::vector<std::filesystem::path> folders{folder("XDG_DATA_HOME", ".local/share")};
    const char* others = std::getenv("XDG_DATA_DIRS");
    std::string_view list = others != nullptr && *others != '\0' ? others : "/usr/local/share:/usr/share";
    while (!list.empty()) {
        const std::size_t colon = std::min(list.find(':'), list.size());
        if (list.starts_with('/')) folders.emplace_back(list.substr(0, colon));
        list.remove_prefix(std::min(colon + 1, list.size()));
    }
    return folders;
}

}   // namespace ostrel
