#pragma once

#include <filesystem>

namespace ostrel::installation {

// Returns the installation's folder: "/usr" of /usr/bin/ostrel; in a build, the build's folder. The program's data lie
// below it in the same places, installed or not. Empty if the system does not tell.
std::filesystem::path prefix();

}   // namespace ostrel::installation
