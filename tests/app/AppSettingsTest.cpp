#include "app/AppSettings.h"
#include "tests/platform/Surroundings.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

class AppSettingsTest : public testing::Test {
protected:
    AppSettings loaded(const std::string& stored) const {
        store().set("settings", stored);
        return AppSettings::load(store());
    }
    SettingsStore store() const { return SettingsStore(folder_.path()); }

    EnvironmentVariable german_{"LC_ALL", "de_DE.UTF-8"};

private:
    ScratchFolder folder_;
};

TEST_F(AppSettingsTest, DefaultsFollowTheLocale) {
    EXPECT_EQ(AppSettings::load(store()).paper, Paper::a4);
    const EnvironmentVariable americanLocale("LC_ALL", "en_US.UTF-8");
    const AppSettings american = AppSettings::load(store());
    EXPECT_EQ(american.paper, Paper::letter);
    EXPECT_FALSE(american.onboardingDone);
    EXPECT_EQ(american.mailFolder, std::nullopt);
    EXPECT_TRUE(american.includeAttachments && american.includeIndex && american.skipDuplicates);
}

TEST_F(AppSettingsTest, WhatIsSavedIsLoaded) {
    AppSettings settings;
    settings.onboardingDone = true;
    settings.mailFolder = "/mail/älter \"2019\"";
    settings.paper = Paper::letter;
    settings.includeIndex = false;
    AppSettings::save(settings, store());
    EXPECT_EQ(AppSettings::load(store()), settings);
    EXPECT_EQ(settings.mailFolderURL(), "/mail/älter \"2019\"");

    settings.mailFolder.reset();
    AppSettings::save(settings, store());
    EXPECT_EQ(AppSettings::load(store()), settings);
    EXPECT_EQ(store().value("settings")->find("mailFolder"), std::string::npos);
}

TEST_F(AppSettingsTest, DamagedRecordsGiveWhatCanBeTrusted) {
    AppSettings onboarded = AppSettings::defaults();
    onboarded.onboardingDone = true;
    AppSettings letter = onboarded;
    letter.paper = Paper::letter;
    const struct {
        const char* why;
        const char* stored;
        AppSettings expected;
    } rows[] = {
        {"missing keys keep their defaults", R"({"onboardingDone": true})", onboarded},
        {"null counts as missing", R"({"onboardingDone": true, "includeIndex": null, "mailFolder": null})", onboarded},
        {"an unknown paper keeps the rest", R"({"onboardingDone": true, "paper": "a5"})", onboarded},
        {"a paper of the wrong type keeps the rest", R"({"onboardingDone": true, "paper": 4})", onboarded},
        {"unknown keys are passed over", R"({"onboardingDone": true, "paper": "letter", "new": [1]})", letter},
        {"a wrong type elsewhere spoils the record", R"({"onboardingDone": true, "includeIndex": "yes"})",
         AppSettings::defaults()},
        {"a folder that is no text spoils the record", R"({"onboardingDone": true, "mailFolder": 7})",
         AppSettings::defaults()},
        {"no object", R"([true])", AppSettings::defaults()},
        {"cut short", R"({"onboardingDone": true)", AppSettings::defaults()},
        {"empty", "", AppSettings::defaults()},
    };
    for (const auto& row : rows) EXPECT_EQ(loaded(row.stored), row.expected) << row.why;
}

}   // namespace
}   // namespace ostrel
