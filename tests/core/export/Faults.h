#pragma once

#include "platform/SystemCalls.h"

#include <cerrno>
#include <cstddef>
#include <mutex>

#include <fcntl.h>

namespace ostrel {

// While this lives, the calls from `first` on fail, `count` of them; the others go to the system. A close that fails
// has closed the file all the same.
class Faults {
public:
    enum class Disk { makesNamelessFiles, doesNot };
    // In the place of an error: the call throws Ended, which nothing catches, as if the program were killed there; and
    // so do all others from then on, on whatever thread, but for those that close what is open.
    static constexpr int endsTheRun = -1;
    struct Ended {};
    Faults(std::size_t first, std::size_t count, int error, Disk disk) {
        state = {first, count, error, disk, 0, 0};
        real = files::systemCalls();
        files::systemCalls() = {
            .open = open,
            .status = [](int descriptor,
                         struct stat* status) { return fails() ? -1 : real.status(descriptor, status); },
            .read = [](int descriptor, void* to, std::size_t size) -> ssize_t {
                return fails() ? -1 : real.read(descriptor, to, size);
            },
            .write = write,
            .copy = [](int from, int to, std::size_t size) -> ssize_t {
                return fails() ? -1 : real.copy(from, to, size);
            },
            .close =
                [](int descriptor) {
                    const bool hasFailed = fails(Call::closes);
                    const int result = real.close(descriptor);
                    return hasFailed ? fail() : result;
                },
            .link = [](int descriptor, const char* to) { return fails() ? -1 : real.link(descriptor, to); },
            .rename = [](const char* from, const char* to) { return fails() ? -1 : real.rename(from, to); },
            .makeFolder = [](const char* path, mode_t mode) { return fails() ? -1 : real.makeFolder(path, mode); },
            .nextEntry = [](DIR* folder) -> const dirent* { return fails() ? nullptr : real.nextEntry(folder); },
            .flush = [](int) { return fails() ? -1 : 0; },   // the real one takes longer than all the others
        };
    }
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;
    ~Faults() { files::systemCalls() = real; }

    std::size_t happened() const { return state.happened; }

private:
    struct State {
        std::size_t first, count;
        int error;
        Disk disk;
        std::size_t calls, happened;
    };
    static int fail() {
        errno = state.error;
        return -1;
    }
    enum class Call { closes, other };
    static bool fails(Call what = Call::other) {
        const std::lock_guard held(mutex);
        const std::size_t call = state.calls++;
        if (state.error == endsTheRun && state.happened > 0 && what == Call::other) throw Ended();
        if (call < state.first || call - state.first >= state.count) return false;
        ++state.happened;
        if (state.error == endsTheRun) throw Ended();
        fail();
        return true;
    }
    static int open(int folder, const char* path, int flags, mode_t mode) {
        if (fails()) return -1;
        if (state.disk == Disk::doesNot && (flags & O_TMPFILE) == O_TMPFILE) {
            errno = EOPNOTSUPP;
            return -1;
        }
        return real.open(folder, path, flags, mode);
    }
    // Like a disk that fills up: half of it is still written.
    static ssize_t write(int descriptor, const void* from, std::size_t size) {
        if (!fails()) return real.write(descriptor, from, size);
        (void)real.write(descriptor, from, size / 2);
        return fail();
    }

    static inline State state;
    static inline std::mutex mutex;   // of its counts
    static inline files::SystemCalls real;
};

}   // namespace ostrel
