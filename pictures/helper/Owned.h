#pragma once

#include <memory>

namespace ostrel::pictures {

template <auto release>
struct Releaser {
    template <class T>
    void operator()(T* object) const {
        release(object);
    }
};

// An object of a C library, given back by this function of its own.
template <class T, auto release>
using Owned = std::unique_ptr<T, Releaser<release>>;

}   // namespace ostrel::pictures
