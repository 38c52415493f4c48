#pragma once

#include <cstdint>

// The engine's own limits are looked at by the thread that is busy with the page, and so too late.
namespace ostrel::memoryCeiling {

// What all web processes of this program may hold at a time: a share of the machine's memory, and no more than bytes.
constexpr std::uint64_t bytes = std::uint64_t{1536} << 20;
constexpr std::uint64_t shareOfMachine = 3;

// From now on, until the program ends, the largest web process is ended where they hold more together: its page fails
// as after a crash, and the machine never swaps for one mail. Once is enough; on the main thread. Does nothing where
// the system hides the processes, as Flatpak does.
void keep();

}   // namespace ostrel::memoryCeiling
