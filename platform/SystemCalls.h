#pragma once

#include <cstddef>

#include <dirent.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace ostrel::files {

// The system calls on files that can fail. platform/ makes all of them through this table, so that a test can replace
// them and let each fail once. Nothing else changes the table, and not while files are in use.
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
    int (*flush)(int descriptor);   // the whole file system
};

// Returns the table in use, by default the system's own calls.
SystemCalls& systemCalls();

}   // namespace ostrel::files
