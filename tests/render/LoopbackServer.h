#pragma once

#include <atomic>
#include <string>
#include <thread>

namespace ostrel {

// Answers every request on a port of this machine with an empty page and counts who called. Only "localhost" and
// 127.0.0.1 lead to it.
class LoopbackServer {
public:
    LoopbackServer();
    ~LoopbackServer();

    std::string port() const { return port_; }
    int connections() const { return connections_; }

private:
    void serve();

    int socket_;
    std::string port_;
    std::atomic<int> connections_ = 0;
    std::thread thread_;
};

}   // namespace ostrel
