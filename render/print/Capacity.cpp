#include "render/print/Capacity.h"

#include "platform/Memory.h"

#include <algorithm>
#include <thread>

namespace ostrel {

namespace {

// An engine takes as long to start as some twenty pages to print.
constexpr std::size_t pagesPerEngine = 100;

// Its process, its view in ours, and the file that it prints while we finish another.
constexpr std::uint64_t bytesPerEngine = std::uint64_t{100} << 20;

// Of the memory that is free now, the larger part is left to what else starts meanwhile and to pages that need much.
constexpr std::uint64_t shareOfMemory = 4;

// All of them are served by one thread of ours, which has enough to do with these.
constexpr std::size_t maxEngines = 16;

}   // namespace

Machine Machine::current() {
    return {std::max<std::size_t>(std::thread::hardware_concurrency(), 1), memory::freeBytes()};
}

// Printing and finishing take about the same time, each on one core: with an engine and a page being finished for every
// core none of them waits for long when there is much to print and little to finish, or the other way round.
Capacity Capacity::of(const Machine& machine, std::size_t pages) {
    const auto affordable = static_cast<std::size_t>(machine.freeBytes / shareOfMemory / bytesPerEngine);
    const std::size_t engines =
        std::clamp<std::size_t>(std::min({machine.cores, affordable, pages / pagesPerEngine}), 1, maxEngines);
    return {engines, engines + 1};
}

}   // namespace ostrel
