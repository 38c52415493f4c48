#include "ui/Launcher.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string_view>
#include <utility>

#include <gio/gdesktopappinfo.h>
#include <glib-unix.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ostrel::launcher {
namespace {

enum class Kind : char { uri, application };

// What begins a message; then comes the token, a zero and what is to be opened.
struct Request {
    std::uint64_t number;
    Kind kind;
};
struct Answer {
    std::uint64_t number;
    bool isOpen;
};

// No program takes a longer argument (MAX_ARG_STRLEN in execve(2)).
constexpr std::size_t maxMessage = 128 * 1024;

using ContextPtr = std::unique_ptr<GAppLaunchContext, decltype(&g_object_unref)>;

// ---- In a process of its own for each request

bool isStarted(Kind kind, const char* target, GAppLaunchContext* context) {
    if (kind == Kind::uri) return g_app_info_launch_default_for_uri(target, context, nullptr) != FALSE;
    GDesktopAppInfo* const application = g_desktop_app_info_new(target);
    return application && g_app_info_launch(G_APP_INFO(application), nullptr, context, nullptr) != FALSE;
}

// A program may have been asked by the bus: what still waits to be sent would end with this process.
void sendAll() {
    if (GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr))
        g_dbus_connection_flush_sync(bus, nullptr, nullptr);
}

[[noreturn]] void serve(int window, std::string_view message) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) std::signal(number, SIG_DFL);
    Request request{};
    std::memcpy(&request, message.data(), sizeof request);
    const std::string token(message.substr(sizeof request).data());
    const std::string target(message.substr(sizeof request + token.size() + 1));
    const ContextPtr context(g_app_launch_context_new(), &g_object_unref);
    if (!token.empty()) {
        g_app_launch_context_setenv(context.get(), "DESKTOP_STARTUP_ID", token.c_str());
        g_app_launch_context_setenv(context.get(), "XDG_ACTIVATION_TOKEN", token.c_str());
    }
    const Answer answer{request.number, isStarted(request.kind, target.c_str(), context.get())};
    if (answer.isOpen) sendAll();
    (void)send(window, &answer, sizeof answer, MSG_NOSIGNAL);
    _exit(0);
}

// ---- In the process that was forked first

[[noreturn]] void waitForRequests(int window) {
    prctl(PR_SET_NAME, "open-outside");
    // The window's end is this one's, and nothing else: who interrupts the window may still open what was made.
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) std::signal(number, SIG_IGN);
    static std::array<char, maxMessage> bytes;
    for (;;) {
        const auto size = recv(window, bytes.data(), bytes.size(), 0);
        if (size < 0 && errno == EINTR) continue;
        if (size <= 0) _exit(0);
        const std::string_view message(bytes.data(), static_cast<std::size_t>(size));
        if (message.size() < sizeof(Request) || message.substr(sizeof(Request)).find('\0') == message.npos) continue;
        if (fork() == 0) serve(window, message);
    }
}

// ---- In the window

class Connection {
public:
    explicit Connection(int socket) : socket_(socket) {}

    void ask(Kind kind, const std::string& target, const std::string& token, std::function<void()> failed) {
        if (watch_ == 0) watch_ = g_unix_fd_add(socket_, G_IO_IN, &Connection::answered, this);
        const Request request{++last_, kind};
        std::string message(sizeof request, '\0');
        std::memcpy(message.data(), &request, sizeof request);
        message.append(token).append(1, '\0').append(target);
        if (message.size() > maxMessage || send(socket_, message.data(), message.size(), MSG_NOSIGNAL) < 0)
            return failed();
        waiting_.emplace(request.number, std::move(failed));
    }

private:
    static gboolean answered(int socket, GIOCondition, gpointer self) {
        return static_cast<Connection*>(self)->read(socket) ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    }
    // Returns false if no more answers will come.
    bool read(int socket) {
        Answer answer{};
        if (recv(socket, &answer, sizeof answer, 0) != sizeof answer) {
            for (const auto& [number, failed] : std::exchange(waiting_, {})) failed();
            return false;
        }
        const auto failed = waiting_.extract(answer.number);
        if (!failed.empty() && !answer.isOpen) failed.mapped()();
        return true;
    }

    const int socket_;
    guint watch_ = 0;
    std::uint64_t last_ = 0;
    std::map<std::uint64_t, std::function<void()>> waiting_;
};

std::unique_ptr<Connection>& connection() {
    static std::unique_ptr<Connection> only;
    return only;
}

void ask(Kind kind, const std::string& target, const std::string& token, std::function<void()> failed) {
    if (!connection()) return failed();
    connection()->ask(kind, target, token, std::move(failed));
}

}   // namespace

bool start() {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return false;
    const auto child = fork();
    if (child == 0) {
        close(ends[0]);
        waitForRequests(ends[1]);
    }
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        return false;
    }
    connection() = std::make_unique<Connection>(ends[0]);
    return true;
}

void openURI(const std::string& uri, const std::string& token, std::function<void()> failed) {
    ask(Kind::uri, uri, token, std::move(failed));
}

void openApplication(const std::string& desktopFile, const std::string& token, std::function<void()> failed) {
    ask(Kind::application, desktopFile, token, std::move(failed));
}

}   // namespace ostrel::launcher
