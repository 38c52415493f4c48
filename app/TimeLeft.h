#pragma once

#include <chrono>
#include <cstddef>
#include <optional>

namespace ostrel {

// How long a run will take yet, told by how long it took so far. Pauses do not count.
class TimeLeft {
public:
    using Clock = std::chrono::steady_clock;

    explicit TimeLeft(Clock::time_point begun) : since_(begun) {}
    void setPaused(bool isPaused, Clock::time_point now);
    // nullopt in the first seconds, when nobody can know, and where nothing is left. Whole minutes, 0 for less than
    // one.
    std::optional<std::chrono::minutes> at(Clock::time_point now, std::size_t done, std::size_t total) const;

private:
    Clock::duration elapsed(Clock::time_point now) const {
        return before_ + (isPaused_ ? Clock::duration() : now - since_);
    }

    Clock::time_point since_;
    Clock::duration before_{};
    bool isPaused_ = false;
};

}   // namespace ostrel
