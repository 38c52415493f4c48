#pragma once

#include <memory>
#include <utility>

namespace ostrel {

// A value that never changes and that all copies share, for what repeats from message to message: it takes its memory
// once. A default one takes none.
template <class Value>
class Shared {
public:
    Shared() = default;
    Shared(Value value) : value_(value == Value() ? nullptr : std::make_shared<const Value>(std::move(value))) {}

    // Lives as long as one of those that share it.
    const Value& operator*() const {
        static const Value none{};
        return value_ ? *value_ : none;
    }
    const Value* operator->() const { return &**this; }
    operator const Value&() const { return **this; }

    bool operator==(const Shared& other) const { return value_ == other.value_ || **this == *other; }
    friend bool operator==(const Shared& shared, const Value& value) { return *shared == value; }

private:
    std::shared_ptr<const Value> value_;
};

}   // namespace ostrel
