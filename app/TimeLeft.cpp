#include "app/TimeLeft.h"

#include <cmath>

namespace ostrel {
namespace {

constexpr std::chrono::seconds patience{5};

}   // namespace

void TimeLeft::setPaused(bool isPaused, Clock::time_point now) {
    before_ = elapsed(now);
    since_ = now;
    isPaused_ = isPaused;
}

std::optional<std::chrono::minutes> TimeLeft::at(Clock::time_point now, std::size_t done, std::size_t total) const {
    const auto spent = elapsed(now);
    if (spent < patience || done == 0 || done >= total) return std::nullopt;
    const double share = static_cast<double>(total - done) / static_cast<double>(done);
    const double minutes = std::chrono::duration<double, std::chrono::minutes::period>(spent).count() * share;
    return std::chrono::minutes(minutes < 1 ? 0 : std::lround(minutes));
}

}   // namespace ostrel
