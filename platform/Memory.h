#pragma once

#include <cstdint>

namespace ostrel::memory {

// Gives the heap's unused pages back to the system. Short-lived objects of all sizes leave holes that the allocator
// would keep. Takes some milliseconds for each 100 MB.
void returnUnused();

// Returns how many bytes programs can take without others giving up theirs, within what this program's control group
// may have (proc(5), cgroups(7)); 0 if the system does not tell.
std::uint64_t freeBytes();

}   // namespace ostrel::memory
