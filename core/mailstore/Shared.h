#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

namespace ostrel {

// A value that never changes and that all copies share, for what repeats from message to message: it takes its memory
// once. A default one takes none. Half the size of a std::shared_ptr, which counts where a summary has five.
template <class Value>
class Shared {
public:
    Shared() = default;
    Shared(Value value) : block_(value == Value() ? nullptr : new Block{std::move(value)}) {}
    Shared(const Shared& other) noexcept : block_(other.block_) {
        if (block_ != nullptr) block_->owners.fetch_add(1, std::memory_order_relaxed);
    }
    Shared(Shared&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
    Shared& operator=(Shared other) noexcept {
        std::swap(block_, other.block_);
        return *this;
    }
    ~Shared() {
        if (block_ != nullptr && block_->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) delete block_;
    }

    // Lives as long as one of those that share it.
    const Value& operator*() const {
        static const Value none{};
        return block_ != nullptr ? block_->value : none;
    }
    const Value* operator->() const { return &**this; }
    operator const Value&() const { return **this; }

    bool operator==(const Shared& other) const { return block_ == other.block_ || **this == *other; }
    friend bool operator==(const Shared& shared, const Value& value) { return *shared == value; }

private:
    struct Block {
        const Value value;
        std::atomic<std::uint32_t> owners = 1;
    };
    Block* block_ = nullptr;
};

}   // namespace ostrel
