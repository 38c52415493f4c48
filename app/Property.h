#pragma once

#include <functional>
#include <list>
#include <memory>
#include <utility>

namespace ostrel {

// Keeps an observer; the observer is forgotten when this goes. May outlive the property.
class Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::shared_ptr<void> kept) : kept_(std::move(kept)) {}

private:
    std::shared_ptr<void> kept_;
};

// A value that tells its observers when it is given a different one. Main thread only. Observers may set properties,
// subscribe and unsubscribe; each sees the newest value.
template <class T>
class Property {
public:
    explicit Property(T initial = {}) : value_(std::move(initial)) {}
    Property(const Property&) = delete;
    Property& operator=(const Property&) = delete;

    const T& get() const { return value_; }
    // Returns false, and tells nobody, if the value is equal to the one held.
    bool set(T value) {
        if (value == value_) return false;
        value_ = std::move(value);
        notify();
        return true;
    }
    [[nodiscard]] Subscription observe(std::function<void()> observer) const {
        auto kept = std::make_shared<std::function<void()>>(std::move(observer));
        observers_.push_back(kept);
        return Subscription(kept);
    }

private:
    void notify() {
        observers_.remove_if([](const auto& observer) { return observer.expired(); });
        const auto current = observers_;   // an observer may subscribe another
        for (const auto& observer : current) {
            if (const auto call = observer.lock()) (*call)();
        }
    }

    T value_;
    mutable std::list<std::weak_ptr<std::function<void()>>> observers_;   // whoever may read may observe
};

}   // namespace ostrel
