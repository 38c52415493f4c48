#include "render/loop/MainLoopTasks.h"

#include "render/loop/MainLoop.h"

#include <cassert>
#include <utility>

namespace ostrel {

namespace {

// An export and a scan take long, and so may a page or two that somebody made to: what comes next finds another thread.
constexpr std::size_t maxThreads = 6;

}   // namespace

MainLoopTasks::~MainLoopTasks() {
    assert(mainLoop::isMainThread());
    std::deque<std::function<void()>> dropped;
    {
        const std::lock_guard held(lock_);
        isEnding_ = true;
        dropped.swap(waiting_);
        changed_.notify_all();
    }
    mainLoop::turnUntil([this] {
        const std::lock_guard held(lock_);
        return running_ == 0;
    });
}

void MainLoopTasks::onMain(std::function<void()> task) { mainLoop::post(std::move(task)); }

void MainLoopTasks::inBackground(std::function<void()> task) {
    const std::lock_guard held(lock_);
    if (isEnding_) return;
    waiting_.push_back(std::move(task));
    if (idle_ >= waiting_.size() || threads_.size() == maxThreads) {
        changed_.notify_one();
        return;
    }
    threads_.emplace_back([this] { work(); });
    ++running_;
}

void MainLoopTasks::work() {
    std::unique_lock held(lock_);
    while (true) {
        ++idle_;
        changed_.wait(held, [this] { return isEnding_ || !waiting_.empty(); });
        --idle_;
        if (isEnding_) break;
        auto task = std::move(waiting_.front());
        waiting_.pop_front();
        held.unlock();
        task();
        task = nullptr;   // what it held goes here, not under the lock
        held.lock();
    }
    --running_;
    mainLoop::post([] {});   // wakes the loop, which asks again
}

}   // namespace ostrel
