#include "render/engine/MemoryCeiling.h"

#include "render/engine/WebProcess.h"
#include "render/loop/Log.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace ostrel::memoryCeiling {
namespace {

using namespace std::chrono_literals;

// A process takes some 100 MB meanwhile, at its fastest.
constexpr auto pause = 100ms;
// To look for new processes takes as long as to look at the memory of a hundred.
constexpr int pausesPerSearch = 10;

std::uint64_t ceiling() {
    const auto machine =
        static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    return std::min(bytes, machine / shareOfMachine);
}

void endTheLargest(const std::vector<pid_t>& processes) {
    std::uint64_t sum = 0, most = 0;
    pid_t largest = 0;
    for (const pid_t process : processes) {
        const std::uint64_t held = webProcess::memoryOf(process);
        sum += held;
        if (held > most) largest = process;
        most = std::max(most, held);
    }
    static const std::uint64_t limit = ceiling();
    if (sum <= limit) return;
    engineLog::note("a web process is ended: it holds " + std::to_string(most >> 20) + " MB");
    kill(largest, SIGKILL);
}

void watch(const std::stop_token& stop) {
    std::mutex mutex;
    std::condition_variable_any never;
    std::unique_lock held(mutex);
    std::vector<pid_t> processes;
    for (int turn = 0; !stop.stop_requested(); ++turn) {
        if (turn % pausesPerSearch == 0) processes = webProcess::all();
        endTheLargest(processes);
        never.wait_for(held, stop, pause, [] { return false; });
    }
}

}   // namespace

void keep() { static const std::jthread watcher(watch); }

}   // namespace ostrel::memoryCeiling
