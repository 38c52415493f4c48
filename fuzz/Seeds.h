#pragma once

#include <string>
#include <vector>

namespace ostrel::fuzz {

// The message files of the sample store, and some more of every shape that the writer knows; none above 8 KB, so that
// mutations hit structure.
std::vector<std::string> messageFiles();
// The messages in them.
std::vector<std::string> messages();

}   // namespace ostrel::fuzz
