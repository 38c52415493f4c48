#include "render/engine/EngineSandbox.h"
#include "tests/platform/Surroundings.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(EngineSandboxTest, WithoutBubblewrapTheEngineIsToldToGoOn) {
    constexpr const char* switchOff = "WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS";
    const EnvironmentVariable restored(switchOff, nullptr);
    const EnvironmentVariable nothingInstalled("PATH", "/nowhere");
    EXPECT_FALSE(engineSandbox::allowOrDoWithout());
    EXPECT_EQ(std::string(std::getenv(switchOff)), "1");
    EXPECT_FALSE(engineSandbox::allowOrDoWithout()) << "and stays so";
}

}   // namespace
}   // namespace ostrel
