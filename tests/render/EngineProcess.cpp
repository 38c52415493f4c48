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

std::optional<std::pair<pid_t, long>> ourWebProcess() {
    const auto all = processes();
    for (const auto& [pid, process] : all) {
        if (process.name.rfind("WebKitWebProces", 0) != 0) continue;
        for (auto at = all.find(process.parent); at != all.end(); at = all.find(at->second.parent)) {
            if (at->first == getpid()) return std::pair{pid, process.ticks};
        }
    }
    return std::nullopt;
}

}   // namespace

std::optional<int> webProcess() {
    const auto found = ourWebProcess();
    return found ? std::optional<int>(found->first) : std::nullopt;
}

bool killBusyWebProcess() {
    const long busy = sysconf(_SC_CLK_TCK) / 2;   // half a second of work: loading is over by then
    std::optional<std::pair<pid_t, long>> first;
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < giveUp) {
        const auto now = ourWebProcess();
        if (now && first && now->first == first->first && now->second - first->second >= busy) {
            return kill(now->first, SIGKILL) == 0;
        }
        if (now && (!first || now->first != first->first)) first = now;
        std::this_thread::yield();
    }
    return false;
}

}   // namespace ostrel
