#include "app/TimeLeft.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace std::chrono_literals;

TEST(TimeLeft, IsToldByWhatIsDoneSoFar) {
    const struct {
        const char* why;
        std::chrono::seconds spent;
        std::size_t done, total;
        std::optional<std::chrono::minutes> expected;
    } rows[] = {
        {"too early to tell", 4s, 50, 100, std::nullopt},
        {"nothing done yet", 10s, 0, 100, std::nullopt},
        {"nothing left", 10s, 100, 100, std::nullopt},
        {"more done than there was", 10s, 101, 100, std::nullopt},
        {"a total that is not known", 10s, 1, 0, std::nullopt},
        {"under a minute", 59s, 50, 100, 0min},
        {"a minute", 60s, 50, 100, 1min},
        {"hours", 60s, 1, 301, 300min},
    };
    for (const auto& row : rows)
        EXPECT_EQ(TimeLeft({}).at(TimeLeft::Clock::time_point(row.spent), row.done, row.total), row.expected)
            << row.why;
}

TEST(TimeLeft, LeavesPausesOut) {
    const auto at = [](std::chrono::minutes when) { return TimeLeft::Clock::time_point(when); };
    TimeLeft left(at(0min));
    left.setPaused(true, at(2min));
    EXPECT_EQ(left.at(at(50min), 1, 2), 2min);
    left.setPaused(false, at(60min));
    EXPECT_EQ(left.at(at(61min), 1, 2), 3min);
}

}   // namespace
}   // namespace ostrel
