#pragma once

#include <cstddef>

#include <dirent.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace ostrel::files {

// The system calls that can fail on a file, in the one place through which platform/ makes them: a test puts others in
// the place of some, to let each fail once. Nobody else changes the table, and nobody while files are in use.
struct SystemCalls {
    int (*open)(int folder, const char* path, int flags, mode_t mode);
    int (*status)(int descriptor, struct stat* status);
    ssize_t (*read)(int descriptor, void* to, std::size_t size);
    ssize_t (*write)(int descriptor, const void* from, std::size_t size);
    ssize_t (*copy)(int from, int to, std::size_t size);   // as much as the file system can do by itself
    int (*close)(int descriptor);
    int (*link)(int descriptor, const char* to);   // gives an open file without a name one
    int (*rename)(const char* from, const char* to);
    int (*makeFolder)(const char* path, mode_t mode);
    const dirent* (*nextEntry)(DIR* folder);
};

// What is called, at first the system itself.
SystemCalls& systemCalls();

}   // namespace ostrel::files
