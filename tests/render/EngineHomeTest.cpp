#include "render/engine/EngineHome.h"
#include "tests/platform/Surroundings.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(EngineHomeTest, StandsInOnlyForACacheThatCannotBeWritten) {
    const EngineHome home;
    const ScratchFolder user;
    const struct {
        const char* why;
        std::string cache;
        bool isKept;
    } rows[] = {
        {"not there yet", user / "cache", true},
        {"below a file that is no folder, also for root", "/proc/version/cache", false},
        {"another user's, which even root cannot write", "/proc/none", false},
    };
    for (const auto& [why, cache, isKept] : rows) {
        const EnvironmentVariable named("XDG_CACHE_HOME", cache.c_str());
        EXPECT_EQ(usersCache(), cache) << why;
        home.moveCacheIn();
        EXPECT_EQ(usersCache() == cache, isKept) << why;
        EXPECT_EQ(usersCache() == home.path() / ".cache", !isKept) << why;
    }
    const EnvironmentVariable relative("XDG_CACHE_HOME", "cache"), named("HOME", user.path().c_str());
    EXPECT_EQ(usersCache(), user / ".cache") << "a relative path does not count";
}

}   // namespace
}   // namespace ostrel
