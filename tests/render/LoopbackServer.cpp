#include "tests/render/LoopbackServer.h"

#include <array>
#include <stdexcept>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ostrel {

namespace {

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}   // namespace

LoopbackServer::LoopbackServer() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    const auto where = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket_, where, length) != 0 || listen(socket_, 64) != 0 || getsockname(socket_, where, &length) != 0) {
        throw std::runtime_error("no port on the loopback interface");
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

LoopbackServer::~LoopbackServer() {
    shutdown(socket_, SHUT_RDWR);   // ends the accept
    thread_.join();
    close(socket_);
}

int LoopbackServer::connections() const {
    // Callers are answered in the order in which they came: once this one is, those before it have been counted.
    const int caller = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(port_);
    std::array<char, 1> answer{};
    const bool isAnswered = connect(caller, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                            recv(caller, answer.data(), answer.size(), 0) == 1;
    close(caller);
    if (!isAnswered) throw std::runtime_error("the server on the loopback interface does not answer");
    return connections_ - ++ownCalls_;
}

void LoopbackServer::serve() {
    for (;;) {
        const int caller = accept(socket_, nullptr, nullptr);
        if (caller < 0) return;
        ++connections_;
        constexpr std::string_view answer = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
        send(caller, answer.data(), answer.size(), MSG_NOSIGNAL);
        close(caller);
    }
}

}   // namespace ostrel
