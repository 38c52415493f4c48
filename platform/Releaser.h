#pragma once

namespace ostrel {

// Deletes what a plain function frees, for a std::unique_ptr.
template <auto release>
struct Releaser {
    template <class T>
    void operator()(T* thing) const {
        release(thing);
    }
};

}   // namespace ostrel
