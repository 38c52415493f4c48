// What code that a picture has brought in could do in the program that decodes. Loaded into it, this takes the place of
// the function that opens a TIFF. OSTREL_INTRUDER says what it does there: "calls" tries the doors of the system and
// answers in the program's stead which of them opened before the wall was closed, and which now.

#include "pictures/Wire.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// Refused here means by the wall; a call that is let through may fail for reasons of its own.
bool isLetThrough(long result) { return result >= 0 || (errno != EPERM && errno != ENOSYS); }

std::string openDoors() {
    const char* const nowhere = "/nowhere/at/all";
    const struct {
        const char* name;
        long result;
    } doors[] = {
        {"open", isLetThrough(syscall(SYS_openat, AT_FDCWD, "/etc/passwd", O_RDONLY))},
        {"create", isLetThrough(syscall(SYS_openat, AT_FDCWD, nowhere, O_WRONLY | O_CREAT, 0600))},
        {"rename", isLetThrough(syscall(SYS_renameat2, AT_FDCWD, nowhere, AT_FDCWD, nowhere, 0))},
        {"remove", isLetThrough(syscall(SYS_unlinkat, AT_FDCWD, nowhere, 0))},
        {"list", isLetThrough(syscall(SYS_getdents64, 0, nullptr, 0))},
        {"look", isLetThrough(syscall(SYS_newfstatat, AT_FDCWD, nowhere, nullptr, 0))},
        {"memory file", isLetThrough(syscall(SYS_memfd_create, "x", 0))},
        {"local socket", isLetThrough(syscall(SYS_socket, AF_UNIX, SOCK_STREAM, 0))},
        {"internet socket", isLetThrough(syscall(SYS_socket, AF_INET, SOCK_STREAM, 0))},
        {"descriptors over a socket", isLetThrough(syscall(SYS_sendmsg, 0, nullptr, 0))},
        {"program", isLetThrough(syscall(SYS_execve, nowhere, nullptr, nullptr))},
        {"other process", isLetThrough(syscall(SYS_process_vm_readv, getppid(), nullptr, 0, nullptr, 0, 0))},
        {"signal", isLetThrough(syscall(SYS_kill, getppid(), 0))},
        {"limits", isLetThrough(syscall(SYS_prlimit64, 0, 0, nullptr, nullptr))},
        {"ring", isLetThrough(syscall(SYS_io_uring_setup, 0, nullptr))},
        {"runnable memory",
         isLetThrough(syscall(SYS_mmap, nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))},
    };
    std::string open;
    for (const auto& [name, result] : doors)
        if (result) open.append(name).append(", ");
    return open;
}

const std::string_view intention = std::getenv("OSTREL_INTRUDER");
const std::string openBefore = openDoors();

using ostrel::pictures::Kind;

[[noreturn]] void answer(const std::string& words, Kind kind = Kind::svg) {
    namespace wire = ostrel::pictures::wire;
    const std::string svg = "<svg>" + words + "</svg>";
    const wire::Answer answer{wire::Outcome::decoded, kind, 1, 1, svg.size(), 0};
    std::string bytes(reinterpret_cast<const char*>(&answer), sizeof answer);
    bytes += svg;
    _exit(write(STDOUT_FILENO, bytes.data(), bytes.size()) < 0 ? 1 : 0);
}

}   // namespace

extern "C" __attribute__((visibility("default"))) void* TIFFClientOpen(const char*, const char*) {
    if (intention == "calls") answer("before: " + openBefore + "now: " + openDoors());
    if (intention == "lies") answer("no PNG", Kind::png);
    if (intention == "twin") {
        const auto child = fork();
        if (child == 0) _exit(0);
        answer(child < 0 ? "alone" : "two");
    }
    if (intention == "endless")
        for (volatile bool on = true; on;) continue;
    if (intention == "memory")
        for (;;) std::memset(new char[1 << 20], 1, 1 << 20);
    std::abort();
}
