#include "render/loop/MainLoop.h"
#include "render/loop/MainLoopTasks.h"

#include <atomic>
#include <future>
#include <memory>
#include <optional>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(MainLoopTasksTest, EndsWithWhatHasBegunAndDropsTheRest) {
    constexpr int count = 100;
    std::atomic<int> begun = 0, ended = 0;
    const auto held = std::make_shared<int>();
    std::promise<void> allBusy, gone;
    mainLoop::post([&] {
        auto tasks = std::make_shared<std::optional<MainLoopTasks>>(std::in_place);
        for (int i = 0; i < count; ++i) {
            (*tasks)->inBackground([&, held, tasks = &**tasks] {
                ++begun;
                // As an export does: it needs the main loop to get to its end.
                std::promise<void> printed;
                tasks->onMain([&] { printed.set_value(); });
                printed.get_future().wait();
                tasks->inBackground([&] { ++begun; });
                ++ended;
            });
        }
        mainLoop::post([&, tasks] {
            tasks->reset();
            gone.set_value();
        });
    });
    gone.get_future().wait();
    EXPECT_EQ(begun, ended);
    EXPECT_LT(begun, count);
    EXPECT_EQ(held.use_count(), 1) << "what was dropped holds nothing";
}

}   // namespace
}   // namespace ostrel
