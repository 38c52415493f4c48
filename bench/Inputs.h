#pragma once

#include "platform/Bytes.h"

#include <filesystem>
#include <vector>

namespace ostrel::bench {

// The mail folder named on the command line.
const std::filesystem::path& store();
void useStore(const std::filesystem::path& folder);

// The files that a scan of the store reads, in its order.
std::vector<std::filesystem::path> storedFiles();
// The messages in them without their containers: at most about 2,000, evenly picked, damaged files left out.
const std::vector<Bytes>& storedMessages();

}   // namespace ostrel::bench
