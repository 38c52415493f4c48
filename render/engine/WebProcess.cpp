#include "render/engine/WebProcess.h"

#include "platform/Files.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <map>
#include <sstream>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace ostrel::webProcess {
namespace {

constexpr std::string_view webName = "WebKitWebProces";   // the system cuts names after 15 characters

struct Process {
    std::string name;
    pid_t parent = 0;
};

// Files there have no size of their own, and end where their process does; a stream's iterators would throw then.
std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return std::move(content).str();
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

std::vector<pid_t> all() {
    const auto known = processes();
    std::vector<pid_t> ours;
    for (const auto& [id, process] : known) {
        if (process.name != webName) continue;
        auto at = known.find(process.parent);
        for (std::size_t up = 0; up < known.size() && at != known.end() && at->first != getpid(); ++up)
            at = known.find(at->second.parent);
        if (at != known.end() && at->first == getpid()) ours.push_back(id);
    }
    return ours;
}

std::optional<pid_t> current() {
    const auto ours = all();
    return ours.empty() ? std::nullopt : std::optional(ours.back());
}

// "size resident ...", in pages.
std::uint64_t memoryOf(pid_t process) {
    const std::string all = contentOf(fileOf(process, "statm"));
    const std::size_t blank = all.find(' ');
    if (blank == all.npos) return 0;
    std::uint64_t pages = 0;
    std::from_chars(all.data() + blank + 1, all.data() + all.size(), pages);
    return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
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
