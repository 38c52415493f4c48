#pragma once

#include "pdf/content/ContentReader.h"

#include <utility>
#include <vector>

namespace ostrel::pdf {

// What an interpreter keeps of the graphics state, saved by q and restored by Q (ISO 32000-1 §8.4.2). Made for the
// operations of one ContentReader, which ends the content at a Q without its q.
template <class State>
class StateStack {
public:
    // Returns true if the operation was one of the two.
    bool follow(const Operation& operation) {
        if (operation.op == "q"_op) {
            saved_.push_back(now_);
            return true;
        }
        if (operation.op != "Q"_op) return false;
        if (!saved_.empty()) {
            now_ = std::move(saved_.back());
            saved_.pop_back();
        }
        return true;
    }

    State* operator->() { return &now_; }
    const State* operator->() const { return &now_; }
    State& operator*() { return now_; }

private:
    State now_{};
    std::vector<State> saved_;
};

}   // namespace ostrel::pdf
