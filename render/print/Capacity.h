#pragma once

#include <cstddef>
#include <cstdint>

namespace ostrel {

// What a computer has to spare.
struct Machine {
    std::size_t cores = 1;         // that this program may run on
    std::uint64_t freeBytes = 0;   // of memory, without making others give up theirs
    static Machine current();
};

// How many pages an export has under way.
struct Capacity {
    std::size_t engines = 1;   // processes that print
    std::size_t calls = 2;     // pages being built, printed or finished at once

    // For an export of so many pages.
    static Capacity of(const Machine& machine, std::size_t pages);
    bool operator==(const Capacity&) const = default;
};

}   // namespace ostrel
