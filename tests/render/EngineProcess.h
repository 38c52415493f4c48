#pragma once

#include <optional>
#include <vector>

namespace ostrel {

// The process ids of this program's web processes; and the first of them.
std::vector<int> webProcesses();
std::optional<int> webProcess();

// Waits until a web process of this program has worked for long on a page, then kills it. Gives up when there is none
// for long; false then.
bool killBusyWebProcess();

}   // namespace ostrel
