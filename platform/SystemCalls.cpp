#include "platform/SystemCalls.h"

#include <cstdio>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace ostrel::files {

SystemCalls& systemCalls() {
    static SystemCalls calls{
        .open = [](int folder, const char* path, int flags,
                   mode_t mode) { return ::openat(folder, path, flags, mode); },
        .status = ::fstat,
        .read = ::read,
        .write = ::write,
        .copy = [](int from, int to,
                   std::size_t size) { return ::copy_file_range(from, nullptr, to, nullptr, size, 0); },
        .close = ::close,
        .link =
            [](int descriptor, const char* to) {
                const std::string open = "/proc/self/fd/" + std::to_string(descriptor);
                return ::linkat(AT_FDCWD, open.c_str(), AT_FDCWD, to, AT_SYMLINK_FOLLOW);
            },
        .rename = std::rename,
        .makeFolder = ::mkdir,
        .nextEntry = [](DIR* folder) -> const dirent* { return ::readdir(folder); },
        .flush = ::syncfs,
    };
    return calls;
}

}   // namespace ostrel::files
