#include "tests/render/EngineProcess.h"

#include "platform/Files.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

#include <unistd.h>

namespace ostrel {
namespace {

struct Process {
    std::string name;
    pid_t parent = 0;
    long ticks = 0;   // of processor time
};

// proc(5), /proc/pid/stat: pid (name) state ppid ... utime stime
std::map<pid_t, Process> processes() {
    std::map<pid_t, Process> found;
    for (const auto& entry : files::list("/proc")) {
        const std::string pid = entry.string();
        if (pid.find_first_not_of("0123456789") != std::string::npos) continue;
        std::ifstream file("/proc/" + pid + "/stat");
        std::string line;
        if (!std::getline(file, line)) continue;
        const std::size_t open = line.find('('), close = line.rfind(')');
        std::istringstream rest(line.substr(close + 2));
        Process process{line.substr(open + 1, close - open - 1), 0, 0};
        std::string skipped;
        long user = 0, system = 0;
        rest >> skipped >> process.parent;
        for (int field = 5; field < 14; ++field) rest >> skipped;
        rest >> user >> system;
        process.ticks = user + system;
        found[static_cast<pid_t>(std::stol(pid))] = process;
    }
    return found;
}

// With their processor time.
std::map<pid_t, long> ourWebProcesses() {
    const auto all = processes();
    std::map<pid_t, long> ours;
    for (const auto& [pid, process] : all) {
        if (process.name.rfind("WebKitWebProces", 0) != 0) continue;
        for (auto at = all.find(process.parent); at != all.end(); at = all.find(at->second.parent))
            if (at->first == getpid()) ours.emplace(pid, process.ticks);
    }
    return ours;
}

}   // namespace

std::vector<int> webProcesses() {
    std::vector<int> found;
    for (const auto& [pid, ticks] : ourWebProcesses()) found.push_back(pid);
    return found;
}

std::optional<int> webProcess() {
    const auto found = webProcesses();
    return found.empty() ? std::nullopt : std::optional(found.front());
}

bool killBusyWebProcess() {
    const long busy = sysconf(_SC_CLK_TCK) / 2;   // half a second of work: loading is over by then
    std::map<pid_t, long> first;
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < giveUp) {
        for (const auto& [pid, ticks] : ourWebProcesses()) {
            const auto [known, isNew] = first.emplace(pid, ticks);
            if (!isNew && ticks - known->second >= busy) return kill(pid, SIGKILL) == 0;
        }
        std::this_thread::yield();
    }
    return false;
}

}   // namespace ostrel
