#include "platform/SettingsStore.h"

#include "platform/Files.h"

#include <array>
#include <cassert>
#include <cerrno>
#include <cstdlib>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

// A folder named by the environment. Relative ones do not count (XDG Base Directory 0.8).
std::optional<std::filesystem::path> folderFromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    if (value == nullptr || *value != '/') return std::nullopt;
    return value;
}

std::filesystem::path fileOf(const std::filesystem::path& folder, const std::string& key) {
    assert(!key.empty() && key.find_first_of("/.") == std::string::npos);   // keys are words of our own
    return folder / (key + ".json");
}

}   // namespace

SettingsStore SettingsStore::forUser() {
    const auto configuration = folderFromEnvironment("XDG_CONFIG_HOME");
    return SettingsStore(configuration.value_or(homeFolder() / ".config") / "ostrel");
}

SettingsStore::SettingsStore(std::filesystem::path folder) : folder_(std::move(folder)) {}

std::optional<std::string> SettingsStore::value(const std::string& key) const {
    try {
        return std::string(files::readWhole(fileOf(folder_, key)).chars());
    } catch (const FileError&) {
        return std::nullopt;
    }
}

void SettingsStore::set(const std::string& key, const std::string& value) const {
    files::createPrivateFolder(folder_);   // the settings tell where a person's mail lies
    files::writeAtomically(fileOf(folder_, key), bytesOf(value));
}

std::filesystem::path homeFolder() {
    if (const auto home = folderFromEnvironment("HOME")) return *home;
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> buffer;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
        return found->pw_dir;
    return "/";
}

}   // namespace ostrel
