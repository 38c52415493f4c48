#include "render/engine/WebProcess.h"

#include "platform/Files.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <map>
#include <string_view>

#include <unistd.h>

namespace ostrel::webProcess {
namespace {

constexpr std::string_view webName = "WebKitWebProces";   // the system cuts names after 15 characters

struct Process {
    std::string name;
    pid_t parent = 0;
};

// Files there have no size of their own.
std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string fileOf(pid_t process, const char* name) { return "/proc/" + std::to_string(process) + "/" + name; }

std::optional<pid_t> idIn(std::string_view text) {
    pid_t id = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
    return error == std::errc() ? std::optional(id) : std::nullopt;
}

// "pid (name) state parent ...", and a name may have brackets and blanks of its own.
std::optional<Process> processIn(std::string_view stat) {
    const std::size_t open = stat.find('('), close = stat.rfind(')');
    constexpr std::size_t stateLength = 4;   // ") S "
    if (open == stat.npos || close == stat.npos || close + stateLength >= stat.size()) return std::nullopt;
    const auto parent = idIn(stat.substr(close + stateLength));
    if (!parent) return std::nullopt;
    return Process{std::string(stat.substr(open + 1, close - open - 1)), *parent};
}

std::map<pid_t, Process> processes() {
    std::map<pid_t, Process> found;
    for (const auto& name : files::list("/proc"))
        if (const auto id = idIn(name.native()))
            if (auto process = processIn(contentOf(fileOf(*id, "stat")))) found.emplace(*id, std::move(*process));
    return found;
}

}   // namespace

std::optional<pid_t> current() {
    const auto all = processes();
    std::optional<pid_t> newest;
    for (const auto& [id, process] : all) {
        if (process.name != webName) continue;
        auto at = all.find(process.parent);
        for (std::size_t up = 0; up < all.size() && at != all.end() && at->first != getpid(); ++up)
            at = all.find(at->second.parent);
        if (at != all.end() && at->first == getpid()) newest = id;
    }
    return newest;
}

std::vector<std::string> environmentOf(pid_t process) {
    std::vector<std::string> variables;
    const std::string all = contentOf(fileOf(process, "environ"));
    for (std::string_view rest = all; !rest.empty();) {
        variables.emplace_back(rest.substr(0, rest.find('\0')));
        rest.remove_prefix(std::min(variables.back().size() + 1, rest.size()));
    }
    return variables;
}

std::string mapsOf(pid_t process) { return contentOf(fileOf(process, "maps")); }

}   // namespace ostrel::webProcess
