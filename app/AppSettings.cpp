#include "app/AppSettings.h"

#include "platform/LocaleFormat.h"
#include "platform/UserFolders.h"

#include <nlohmann/json.hpp>

namespace ostrel {

namespace {

using nlohmann::json;

constexpr const char* settingsKey = "settings";

std::string_view rawValue(Paper paper) { return paper == Paper::letter ? "letter" : "a4"; }

// False when the key holds a value of another type. A missing key or null keeps the field as it is.
template <typename T>
bool read(const json& record, const char* key, T& field) {
    const auto found = record.find(key);
    if (found == record.end() || found->is_null()) return true;
    if constexpr (std::is_same_v<T, bool>) {
        if (!found->is_boolean()) return false;
    } else {
        if (!found->is_string()) return false;
    }
    if constexpr (std::is_same_v<T, std::optional<std::string>>) {
        field = found->template get<std::string>();
    } else {
        field = found->template get<T>();
    }
    return true;
}

// A paper of a newer version must not cost the user the other settings, so it is read apart and never fails.
void readPaper(const json& record, Paper& paper) {
    const auto found = record.find("paper");
    if (found == record.end() || !found->is_string()) return;
    for (const Paper known : {Paper::letter, Paper::a4}) {
        if (found->get_ref<const std::string&>() == rawValue(known)) paper = known;
    }
}

}   // namespace

AppSettings AppSettings::defaults() {
    AppSettings settings;
    settings.paper = locale::measurementSystem() == locale::MeasurementSystem::us ? Paper::letter : Paper::a4;
    return settings;
}

AppSettings AppSettings::load(const SettingsStore& store) {
    const AppSettings standard = defaults();
    const auto stored = store.value(settingsKey);
    if (!stored) return standard;
    const json record = json::parse(*stored, nullptr, /*allow_exceptions=*/false);
    if (!record.is_object()) return standard;

    AppSettings settings = standard;
    const bool wellTyped =
        read(record, "onboardingDone", settings.onboardingDone) && read(record, "mailFolder", settings.mailFolder) &&
        read(record, "includeAttachments", settings.includeAttachments) &&
        read(record, "includeIndex", settings.includeIndex) && read(record, "skipDuplicates", settings.skipDuplicates);
    if (!wellTyped) return standard;
    readPaper(record, settings.paper);
    return settings;
}

void AppSettings::save(const AppSettings& settings, const SettingsStore& store) {
    json record = {{"onboardingDone", settings.onboardingDone},
                   {"paper", rawValue(settings.paper)},
                   {"includeAttachments", settings.includeAttachments},
                   {"includeIndex", settings.includeIndex},
                   {"skipDuplicates", settings.skipDuplicates}};
    if (settings.mailFolder) record["mailFolder"] = *settings.mailFolder;
    try {
        store.set(settingsKey, record.dump());
    } catch (const std::exception&) {
        // A folder name that is not UTF-8 or a full disk: the settings hold for this run and are not kept.
    }
}

std::filesystem::path AppSettings::mailFolderURL() const {
    return mailFolder ? std::filesystem::path(*mailFolder) : homeFolder() / "Library" / "Mail";
}

}   // namespace ostrel
