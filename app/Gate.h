#pragma once

#include <condition_variable>
#include <mutex>
#include <stop_token>
#include <utility>

namespace ostrel {

// Holds up the threads that come to it as long as it is closed.
class Gate {
public:
    void setClosed(bool isClosed) {
        const std::lock_guard held(lock_);
        isClosed_ = isClosed;
        changed_.notify_all();
    }
    // Until it is open or a stop is asked for.
    void pass(std::stop_token stop) {
        std::unique_lock held(lock_);
        changed_.wait(held, std::move(stop), [this] { return !isClosed_; });
    }

private:
    std::mutex lock_;
    std::condition_variable_any changed_;
    bool isClosed_ = false;
};

}   // namespace ostrel
