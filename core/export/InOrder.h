#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace ostrel {

// What is to be done at each place of a list, by several threads, so that whoever watches sees one place done after
// the other.
template <class Result>
struct Steps {
    // Several at once, on any of the threads; the places are begun in the order of the list.
    std::function<Result(std::size_t place)> work;
    // In the order of the list, one call at a time: a place has begun when the one before it has ended.
    std::function<void(std::size_t place)> begun;
    std::function<void(std::size_t place, Result result)> ended;
};

template <class Result>
class InOrder {
public:
    explicit InOrder(Steps<Result> steps) : steps_(std::move(steps)) {}

    // Works on the places below count with so many threads, this one included, until all are done or cancel is
    // requested; what has begun by then is ended. Returns how many have begun. What a step throws ends the list at
    // once, and is thrown again when the threads have come back. Once.
    std::size_t run(std::size_t count, std::size_t threads, const std::stop_token& cancel) {
        count_ = count;
        cancel_ = cancel;
        {
            std::vector<std::jthread> others;
            try {
                for (std::size_t i = 1; i < threads; ++i) others.emplace_back([this] { takePart(); });
            } catch (const std::system_error&) {
                // Those that there are do it all.
            }
            takePart();
        }
        if (failure_) std::rethrow_exception(failure_);
        return taken_;
    }

private:
    // A place that takes minutes does not stop the others; but what is ended is only kept here until its turn comes.
    static constexpr std::size_t maxAhead = 200;

    void takePart() noexcept {
        try {
            while (const auto place = next()) end(*place, steps_.work(*place));
        } catch (...) {
            const std::lock_guard held(mutex_);
            if (!failure_) failure_ = std::current_exception();
            hasRoom_.notify_all();
        }
    }
    std::optional<std::size_t> next() {
        std::unique_lock held(mutex_);
        const auto isOver = [this] { return failure_ || taken_ == count_; };
        hasRoom_.wait(held, [&] { return isOver() || taken_ - ended_ < maxAhead; });
        if (isOver() || cancel_.stop_requested()) return std::nullopt;
        if (taken_ == ended_) steps_.begun(taken_);
        results_.emplace_back();
        return taken_++;
    }
    void end(std::size_t place, Result result) {
        const std::lock_guard held(mutex_);
        results_[place - ended_] = std::move(result);
        while (!failure_ && !results_.empty() && results_.front()) {
            steps_.ended(ended_, std::move(*results_.front()));
            results_.pop_front();
            if (++ended_ < taken_) steps_.begun(ended_);
        }
        hasRoom_.notify_all();
    }

    const Steps<Result> steps_;
    std::size_t count_ = 0;
    std::stop_token cancel_;
    std::mutex mutex_;   // of what follows
    std::condition_variable hasRoom_;
    std::size_t taken_ = 0, ended_ = 0;
    std::deque<std::optional<Result>> results_;   // of the places from ended_ to taken_
    std::exception_ptr failure_;
};

// A stretch of the work that is done place by place although several threads come to it.
class Turns {
public:
    // The turn of one place. Those behind it wait until it ends, at the latest when this goes.
    class Turn {
    public:
        Turn(Turns& turns, std::size_t place) : turns_(turns), place_(place) {}
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn() {
            begin();
            end();
        }
        void begin() {
            std::unique_lock held(turns_.mutex_);
            turns_.isNext_.wait(held, [this] { return turns_.next_ >= place_; });
        }
        void end() {
            const std::lock_guard held(turns_.mutex_);
            if (turns_.next_ == place_) ++turns_.next_;
            turns_.isNext_.notify_all();
        }

    private:
        Turns& turns_;
        const std::size_t place_;
    };

private:
    std::mutex mutex_;
    std::condition_variable isNext_;
    std::size_t next_ = 0;
};

}   // namespace ostrel
