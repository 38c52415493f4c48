#pragma once

#include "app/Desktop.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace ostrel {

// Where an application's work runs: its main loop, and a few threads beside it, started as they are needed. Made and
// destroyed on the main thread; outlives what posts to it, and what its tasks use outlives it.
class MainLoopTasks final : public Tasks {
public:
    MainLoopTasks() = default;
    // Drops what has not begun and turns the main loop until what has begun is done, because it may wait for the loop
    // itself: so ask it to stop first.
    ~MainLoopTasks() override;

    void onMain(std::function<void()> task) override;
    void inBackground(std::function<void()> task) override;

private:
    void work();

    std::mutex lock_;   // of all below but the threads, which are the main thread's own or started under it
    std::condition_variable changed_;
    std::deque<std::function<void()>> waiting_;
    std::size_t idle_ = 0, running_ = 0;   // threads
    bool isEnding_ = false;
    std::vector<std::jthread> threads_;
};

}   // namespace ostrel
