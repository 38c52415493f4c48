// Killed, out of memory or broken, a process of the web engine may end while it starts, and the engine then ends the
// program that it serves. With this linked in, it takes such a process for one that ended after its start: it tells of
// the end of the web process and starts the next.
//
// A program's own functions go before the C library's for all libraries that it uses. These do what the C library's do,
// except where the engine waits for a sign of life of a process that it started and finds the other end closed.

#include "render/overrides/Register.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <limits>

#include <dlfcn.h>
#include <gio/gio.h>
#include <gio/gunixconnection.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace ostrel::engineStarts {
namespace {

bool isWanted() { return overrides::isWanted(overrides::Override::engineStarts); }

bool isEngine(const void* caller) {
    Dl_info object{};
    return dladdr(caller, &object) != 0 && object.dli_fname != nullptr &&
           std::strstr(object.dli_fname, "libwebkitgtk") != nullptr;
}

// A process id that no system gives out: what the engine sends to it reaches nobody.
ucred credentialsOfNobody() { return {std::numeric_limits<pid_t>::max(), getuid(), getgid()}; }

void answerForNobody(msghdr& message) {
    const ucred nobody = credentialsOfNobody();
    message.msg_controllen = CMSG_SPACE(sizeof nobody);
    message.msg_flags = 0;
    std::memset(message.msg_control, 0, message.msg_controllen);
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_CREDENTIALS;
    header->cmsg_len = CMSG_LEN(sizeof nobody);
    std::memcpy(CMSG_DATA(header), &nobody, sizeof nobody);
}

}   // namespace
}   // namespace ostrel::engineStarts

using namespace ostrel::engineStarts;

// The web and network processes send one byte, with which the kernel gives their process id: SCM_CREDENTIALS in
// unix(7). The engine has room for nothing else there and for much more wherever else it asks.
extern "C" __attribute__((visibility("default"))) ssize_t recvmsg(int socket, msghdr* message, int flags) {
    const std::size_t room = message->msg_controllen;
    const ssize_t received = syscall(SYS_recvmsg, socket, message, flags);
    const int error = errno;
    const bool isClosed = received == 0 || (received < 0 && error == ECONNRESET);
    if (room != CMSG_SPACE(sizeof(ucred)) || !isWanted()) return received;
    const bool isForUs = isEngine(__builtin_return_address(0));
    if (isForUs) ostrel::overrides::reportActive(ostrel::overrides::Override::engineStarts);
    errno = error;
    if (!isForUs || !isClosed) return received;
    answerForNobody(*message);
    return 1;
}

// The same byte, which WebKitGTK 2.54 has GIO receive.
extern "C" __attribute__((visibility("default"))) GCredentials* g_unix_connection_receive_credentials(
    GUnixConnection* connection, GCancellable* cancellable, GError** error) {
    static auto* const real = reinterpret_cast<decltype(&g_unix_connection_receive_credentials)>(
        dlsym(RTLD_NEXT, "g_unix_connection_receive_credentials"));
    if (!isWanted() || !isEngine(__builtin_return_address(0))) return real(connection, cancellable, error);
    ostrel::overrides::reportActive(ostrel::overrides::Override::engineStarts);
    if (GCredentials* const received = real(connection, cancellable, nullptr)) return received;
    ucred nobody = credentialsOfNobody();
    GCredentials* const made = g_credentials_new();
    g_credentials_set_native(made, G_CREDENTIALS_TYPE_LINUX_UCRED, &nobody);
    return made;
}

// The process between the sandbox and the session's bus has to tell that it is ready before it ends. Without it there
// is no bus in the sandbox, and pages are shown and printed all the same.
extern "C" __attribute__((visibility("default"))) gboolean g_subprocess_wait_check_finish(GSubprocess* process,
                                                                                          GAsyncResult* result,
                                                                                          GError** error) {
    if (!g_subprocess_wait_finish(process, result, error)) return FALSE;
    return (isWanted() && isEngine(__builtin_return_address(0))) ||
           g_spawn_check_wait_status(g_subprocess_get_status(process), error);
}
