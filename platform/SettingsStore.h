#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace ostrel {

// The per-user store of the application's settings: one file per key in the user's configuration folder
// ($XDG_CONFIG_HOME/ostrel, else ~/.config/ostrel; XDG Base Directory 0.8). Values are replaced atomically.
class SettingsStore {
public:
    static SettingsStore forUser();
    explicit SettingsStore(std::filesystem::path folder);

    // Returns the bytes stored under the key; nullopt if there are none or they cannot be read.
    std::optional<std::string> value(const std::string& key) const;
    // Throws FileError.
    void set(const std::string& key, const std::string& value) const;

private:
    std::filesystem::path folder_;
};

}   // namespace ostrel
