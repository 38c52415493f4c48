#pragma once

#include <string>

#include <sys/types.h>

namespace ostrel {

// A display for machines that have none: an Xvfb of our own, reachable from this machine only. It ends with this
// object, and by itself when the process dies in any other way.
class PrivateDisplay {
public:
    // True where the environment names no display.
    static bool isNeeded();

    // Starts the server and sets DISPLAY. Before the toolkit and before other threads, on the main thread. Throws
    // std::runtime_error with one sentence when it cannot be started.
    PrivateDisplay();
    PrivateDisplay(const PrivateDisplay&) = delete;
    PrivateDisplay& operator=(const PrivateDisplay&) = delete;
    ~PrivateDisplay();

private:
    pid_t server_ = -1;
};

}   // namespace ostrel
