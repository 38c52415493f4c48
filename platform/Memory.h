#pragma once

namespace ostrel::memory {

// Gives the heap's unused pages back to the system. Short-lived objects of all sizes leave holes that the allocator
// would keep. Takes some milliseconds for each 100 MB.
void returnUnused();

}   // namespace ostrel::memory
