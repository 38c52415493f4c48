#pragma once

#include "core/export/Paper.h"
#include "platform/SettingsStore.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel {

// The one persisted record of the application.
struct AppSettings {
    bool onboardingDone = false;
    std::optional<std::string> mailFolder;   // absent: Apple Mail's own folder in the user's home
    Paper paper = Paper::a4;
    bool includeAttachments = true;
    bool includeIndex = true;
    bool skipDuplicates = true;

    // Computed afresh: letter where the locale measures the American way.
    static AppSettings defaults();
    // The stored record; the defaults when there is none or it is damaged.
    static AppSettings load(const SettingsStore& store);
    // Stores the record; a failure is silent, the settings of this run still hold.
    static void save(const AppSettings& settings, const SettingsStore& store);

    // The folder to scan.
    std::filesystem::path mailFolderURL() const;

    bool operator==(const AppSettings&) const = default;
};

}   // namespace ostrel
