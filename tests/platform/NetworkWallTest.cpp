#include "platform/NetworkWall.h"

#include <cerrno>
#include <cstdlib>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace ostrel {
namespace {

// The error of making such a socket; 0 if it can be made. By the bare call, as code would that hides what it does.
int errorOfSocket(long family, long type) { return ::syscall(SYS_socket, family, type, 0L) < 0 ? errno : 0; }

// In a process of its own, for there is no way back.
TEST(NetworkWallDeathTest, OnlyLocalSocketsAreLeft) {
    const auto check = [] {
        if (errorOfSocket(AF_INET, SOCK_STREAM) != 0) std::exit(10);   // else it would prove nothing
        if (!networkWall::raise()) std::exit(11);
        const struct {
            long family, type;
            int error;
        } rows[] = {
            {AF_UNIX, SOCK_STREAM, 0},
            {AF_NETLINK, SOCK_RAW, 0},
            {AF_INET, SOCK_STREAM, EAFNOSUPPORT},
            {AF_INET, SOCK_DGRAM, EAFNOSUPPORT},
            {AF_INET6, SOCK_STREAM, EAFNOSUPPORT},
            {AF_PACKET, SOCK_RAW, EAFNOSUPPORT},
            {AF_VSOCK, SOCK_STREAM, EAFNOSUPPORT},
            {AF_MAX + 100, SOCK_STREAM, EAFNOSUPPORT},
            {1L << 32 | AF_INET, SOCK_STREAM, EAFNOSUPPORT},
            {1L << 32 | AF_UNIX, SOCK_STREAM, EAFNOSUPPORT},
        };
        int number = 20;
        for (const auto& row : rows) {
            if (errorOfSocket(row.family, row.type) != row.error) std::exit(number);
            ++number;
        }
        if (::syscall(SYS_io_uring_setup, 1L, nullptr) != -1 || errno != ENOSYS) std::exit(12);
        // What it starts is behind the wall as well.
        ::execl("/bin/bash", "bash", "-c", "! (exec 3<>/dev/udp/127.0.0.1/9) 2>/dev/null", nullptr);
        std::exit(13);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}

}   // namespace
}   // namespace ostrel
