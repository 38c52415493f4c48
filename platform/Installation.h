#pragma once

#include <filesystem>

namespace ostrel::installation {

// What the running program's folder lies in: "/usr" of /usr/bin/ostrel; in a build, the build's folder. What belongs to
// the program lies below it in the same places, installed or not. Empty where the system does not tell.
std::filesystem::path prefix();

}   // namespace ostrel::installation
