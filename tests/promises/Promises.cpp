#include "tests/promises/Promises.h"

#include <algorithm>
#include <initializer_list>

namespace ostrel::promises {
namespace {

using Words = std::initializer_list<std::string_view>;

bool hasAny(std::string_view text, const Words& words) {
    return std::ranges::any_of(words, [&](auto word) { return text.find(word) != text.npos; });
}

bool isAny(std::string_view text, const Words& words) { return std::ranges::find(words, text) != words.end(); }

std::string_view nameOf(std::string_view call) { return call.substr(0, call.find('(')); }

// As a whole path or the beginning of one: "/Mail", not "/Mailbox".
bool names(std::string_view text, std::string_view store) {
    for (std::size_t at = 0; (at = text.find(store, at)) != text.npos; at += store.size()) {
        const std::string_view rest = text.substr(at + store.size());
        if (rest.empty() || hasAny(rest.substr(0, 1), {"/", "\"", ">", " "})) return true;
    }
    return false;
}

bool readsOnly(std::string_view name, std::string_view call, std::string_view store) {
    if (isAny(name, {"newfstatat", "stat", "lstat", "statx", "statfs", "access", "faccessat", "faccessat2", "readlink",
                     "readlinkat"}))
        return true;
    if (isAny(name, {"open", "openat"}))
        return hasAny(call, {"O_RDONLY", "O_PATH"}) &&
               !hasAny(call, {"O_WRONLY", "O_RDWR", "O_CREAT", "O_TRUNC", "O_APPEND", "O_TMPFILE"}) &&
               hasAny(call, {"O_NOATIME", "O_PATH"});
    if (name == "fcntl") return hasAny(call, {" F_GETFD", " F_SETFD", " F_GETFL", " F_SETFL", " F_DUPFD"});
    // copy_file_range(from, NULL, to, NULL, ...)
    if (name == "copy_file_range") return !names(call.substr(std::min(call.find(", NULL, "), call.size())), store);
    // As an argument; strace is given no program in a store.
    return name == "execve";
}

}   // namespace

std::string breachOfReading(std::string_view call, std::string_view store) {
    const std::string_view name = nameOf(call);
    const bool couldDoAnything = isAny(name, {"io_uring_setup", "open_by_handle_at"});
    const bool isKept = names(call, store) ? readsOnly(name, call, store) : !couldDoAnything;
    return isKept ? std::string() : std::string(call);
}

std::string breachOfSilence(std::string_view call, const std::vector<std::string>& alsoAllowed) {
    const std::string_view name = nameOf(call);
    bool isKept = true;
    if (name == "socket") {
        isKept = hasAny(call, {"(AF_UNIX,", "(AF_NETLINK,"});
    } else if (name == "connect") {
        // The display's; the C library's cache of user names; those that the engine's sandbox has of its own.
        isKept =
            hasAny(call, {"sun_path=\"/tmp/.X11-unix/", "sun_path=@\"/tmp/.X11-unix/",
                          "sun_path=\"/var/run/nscd/socket\"", "/.cache/webkitgtk/bus\"", "/.cache/wayland-0\""}) ||
            std::ranges::any_of(alsoAllowed, [&](const std::string& path) { return call.find(path) != call.npos; });
        isKept = isKept && hasAny(call, {"sa_family=AF_UNIX"});
    } else if (isAny(name, {"open", "openat"})) {
        isKept = !hasAny(call, {"\"/etc/resolv.conf\"", "\"/etc/hosts\"", "\"/etc/host.conf\""});
    } else if (name == "io_uring_setup") {
        isKept = false;
    }
    return isKept ? std::string() : std::string(call);
}

}   // namespace ostrel::promises
