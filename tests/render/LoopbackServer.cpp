#include "tests/render/LoopbackServer.h"

#include <stdexcept>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ostrel {

LoopbackServer::LoopbackServer() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    const auto where = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket_, where, length) != 0 || listen(socket_, 64) != 0 || getsockname(socket_, where, &length) != 0) {
        throw std::runtime_error("no port on the loopback interface");
    }
    port_ = std::to_string(ntohs(address.sin_port));
    thread_ = std::thread([this] { serve(); });
}

LoopbackServer::~LoopbackServer() {
    shutdown(socket_, SHUT_RDWR);   // ends the accept
    thread_.join();
    close(socket_);
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
