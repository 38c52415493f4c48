#include "platform/SettingsStore.h"

#include "platform/Files.h"
#include "platform/UserFolders.h"

#include <cassert>
#include <utility>

namespace ostrel {
namespace {

std::filesystem::path fileOf(const std::filesystem::path& folder, const std::string& key) {
    assert(!key.empty() && key.find_first_of("/.") == std::string::npos);   // keys are words of our own
    return folder / (key + ".json");
}

}   // namespace

SettingsStore SettingsStore::forUser() { return SettingsStore(configFolder() / "ostrel"); }

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

}   // namespace ostrel
