// Tests run on a worker beside the main loop, as an export does, on a display of their own.

#include "render/engine/HeadlessEngine.h"
#include "render/loop/MainLoop.h"

#include <cstdlib>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    int result = 1;
    const ostrel::HeadlessEngine engine;
    ostrel::mainLoop::runBeside([&] { result = RUN_ALL_TESTS(); });
    return result;
}
