#include "platform/Files.h"
#include "platform/SettingsStore.h"
#include "platform/UserFolders.h"
#include "tests/platform/Surroundings.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(SettingsStore, keepsValuesForTheUserAlone) {
    const ScratchFolder home;
    const EnvironmentVariable configuration("XDG_CONFIG_HOME", (home / "new/config").c_str());
    const SettingsStore store = SettingsStore::forUser();
    EXPECT_EQ(store.value("settings"), std::nullopt);
    store.set("settings", "{\"a\":1}");
    store.set("settings", "{}");
    EXPECT_EQ(SettingsStore::forUser().value("settings"), "{}");
    EXPECT_EQ(files::list(home / "new/config/ostrel"), std::vector<std::filesystem::path>{"settings.json"});
    EXPECT_EQ(std::filesystem::status(home / "new/config/ostrel").permissions(), std::filesystem::perms::owner_all);
}

TEST(SettingsStore, ignoresRelativeFoldersAndReportsWhatItCannotKeep) {
    const ScratchFolder home;
    const EnvironmentVariable configuration("XDG_CONFIG_HOME", "relative"), variable("HOME", home.path().c_str());
    files::writeAtomically(home / ".config", bytesOf("a file where the folder should be"));
    EXPECT_EQ(SettingsStore::forUser().value("settings"), std::nullopt);
    EXPECT_THROW(SettingsStore::forUser().set("settings", "{}"), FileError);
    std::filesystem::remove(home / ".config");
    SettingsStore::forUser().set("settings", "{}");
    EXPECT_TRUE(files::isRegularFile(home / ".config/ostrel/settings.json"));
    EXPECT_EQ(homeFolder(), home.path());
}

}   // namespace
}   // namespace ostrel
