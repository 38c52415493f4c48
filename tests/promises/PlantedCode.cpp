// Preloaded into a program by a test: the first folder that the program has listed calls the server at PLANTED_PORT, as
// code would that got in with a mail, and leaves the file PLANTED_MARK behind.

#include <cstdlib>

#include <arpa/inet.h>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

void callOut() {
    const char* port = std::getenv("PLANTED_PORT");
    const char* mark = std::getenv("PLANTED_MARK");
    if (port == nullptr || mark == nullptr) return;
    close(open(mark, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connection < 0) return;
    sockaddr_in server{};
    server.sin_family = AF_INET;
    server.sin_port = htons(static_cast<in_port_t>(std::atoi(port)));
    server.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    (void)connect(connection, reinterpret_cast<sockaddr*>(&server), sizeof server);
    close(connection);
}

}   // namespace

extern "C" __attribute__((visibility("default"))) int closedir(DIR* folder) {
    static bool hasCalled = false;
    if (!hasCalled) {
        hasCalled = true;
        callOut();
    }
    static auto* const real = reinterpret_cast<decltype(&closedir)>(dlsym(RTLD_NEXT, "closedir"));
    return real(folder);
}
