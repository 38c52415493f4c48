#pragma once

#include <optional>

namespace ostrel {

// The process id of this program's web process.
std::optional<int> webProcess();

// Waits until the web process of this program works on a page, then kills it. Gives up when there is none for long;
// false then.
bool killBusyWebProcess();

}   // namespace ostrel
