#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

namespace ostrel {

// Answers every request on a port of this machine with an empty page and counts who called. Only "localhost" and
// 127.0.0.1 lead to it.
class LoopbackServer {
public:
    LoopbackServer();
    ~LoopbackServer();

    std::string port() const { return std::to_string(port_); }
    // Returns how many have connected so far, not yet answered ones included.
    int connections() const;

private:
    void serve();

    int socket_;
    mutable int ownCalls_ = 0;   // to itself
    std::uint16_t port_;
    std::atomic<int> connections_ = 0;
    std::thread thread_;
};

}   // namespace ostrel
