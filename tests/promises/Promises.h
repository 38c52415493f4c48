#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ostrel::promises {

// Both name what a call of a trace does that it must not; empty when it keeps the promise. Whatever is not known to be
// harmless is named.

// The call may look at what is in the store and read it, and nothing else.
std::string breachOfReading(std::string_view call, std::string_view store);

// The call may use the display, the engine's own sockets and these local ones, and nothing else; it may not look up a
// host's name.
std::string breachOfSilence(std::string_view call, const std::vector<std::string>& alsoAllowed = {});

}   // namespace ostrel::promises
