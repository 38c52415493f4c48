#include "platform/Memory.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <optional>
#include <string>

#include <malloc.h>

namespace ostrel::memory {

namespace {

std::uint64_t available() {
    std::ifstream file("/proc/meminfo");
    for (std::string name, unit; file >> name;) {
        std::uint64_t kilobytes = 0;
        if (name == "MemAvailable:" && file >> kilobytes) return kilobytes * 1024;
        std::getline(file, unit);
    }
    return 0;
}

std::optional<std::uint64_t> numberIn(const std::string& path) {
    std::uint64_t number = 0;
    std::ifstream file(path);
    return file >> number ? std::optional(number) : std::nullopt;   // "max": no limit
}

// The group's line is "0::/path" (version 2); a limit of version 1 is not looked for.
std::uint64_t leftToGroup() {
    std::ifstream file("/proc/self/cgroup");
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with("0::/")) continue;
        const std::string folder = "/sys/fs/cgroup" + line.substr(3) + "/";
        const auto limit = numberIn(folder + "memory.max"), used = numberIn(folder + "memory.current");
        if (limit && used) return *limit - std::min(*limit, *used);
    }
    return std::numeric_limits<std::uint64_t>::max();
}

}   // namespace

void returnUnused() { ::malloc_trim(0); }

std::uint64_t freeBytes() { return std::min(available(), leftToGroup()); }

}   // namespace ostrel::memory
