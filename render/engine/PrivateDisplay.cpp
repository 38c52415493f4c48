#include "render/engine/PrivateDisplay.h"

#include "platform/Environment.h"
#include "platform/Translation.h"
#include "render/loop/MainLoop.h"

#include <array>
#include <cassert>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostrel {
namespace {

// A loaded machine may take seconds to start a server; beyond this it is not going to.
constexpr int startLimitMilliseconds = 30'000;

// Between fork and exec: only calls that are safe there.
[[noreturn]] void becomeServer(pid_t parent, int displayDescriptor) {
    // A group of its own, so that the terminal's interrupt does not reach it; and it must not outlive us.
    setsid();
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(1);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    const int null = open("/dev/null", O_RDWR);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (standard != displayDescriptor) dup2(null, standard);
    }
    // The server picks a free number itself and writes it to descriptor 3.
    if (displayDescriptor != 3 && dup2(displayDescriptor, 3) < 0) _exit(1);
    if (displayDescriptor == 3) fcntl(3, F_SETFD, 0);
    // Nothing is ever shown: a small picture, and no OpenGL, whose libraries are the larger part of the server.
    execlp("Xvfb", "Xvfb", "-displayfd", "3", "-screen", "0", "64x64x24", "-nolisten", "tcp", "-noreset", "-extension",
           "GLX", nullptr);
    _exit(127);
}

// The line that the server writes when it is ready; empty when it ended or took too long.
std::string readDisplayNumber(int descriptor) {
    std::string number;
    std::array<char, 16> piece;
    pollfd ready{descriptor, POLLIN, 0};
    while (number.find('\n') == std::string::npos) {
        const int events = poll(&ready, 1, startLimitMilliseconds);
        if (events < 0 && errno == EINTR) continue;
        const ssize_t count = events > 0 ? read(descriptor, piece.data(), piece.size()) : 0;
        if (count <= 0) return {};
        number.append(piece.data(), static_cast<std::size_t>(count));
    }
    return number.substr(0, number.find('\n'));
}

void end(pid_t server) {
    kill(server, SIGTERM);
    while (waitpid(server, nullptr, 0) < 0 && errno == EINTR) {
    }
}

}   // namespace

bool PrivateDisplay::isNeeded() { return !environment::value("DISPLAY") && !environment::value("WAYLAND_DISPLAY"); }

PrivateDisplay::PrivateDisplay() {
    assert(mainLoop::isMainThread());
    std::array<int, 2> ends;
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::runtime_error(i18n::tr("A display could not be started: no free pipe."));
    const pid_t parent = getpid();
    server_ = fork();
    if (server_ == 0) becomeServer(parent, ends[1]);
    close(ends[1]);
    const std::string number = server_ > 0 ? readDisplayNumber(ends[0]) : std::string();
    close(ends[0]);
    if (number.empty()) {
        if (server_ > 0) end(server_);
        throw std::runtime_error(
            i18n::tr("There is no display, and Xvfb, which would stand in for one, could not be started (Debian "
                     "package xvfb)."));
    }
    environment::set("DISPLAY", ":" + number);
}

PrivateDisplay::~PrivateDisplay() {
    end(server_);
    environment::unset("DISPLAY");
}

}   // namespace ostrel
