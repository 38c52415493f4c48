#pragma once

#include "platform/TemporaryFolder.h"

#include <filesystem>

namespace ostrel {

// The user's cache folder, whether it is there or not (XDG Base Directory 0.8).
std::filesystem::path usersCache();

// A private home for this process and the web engine's, as long as this lives. The engine fills a home with files that
// nobody reads again, and ends the program where its sandbox cannot be made of the user's folders: after su the home or
// the runtime folder may be another user's, a service has none, a home may be read-only.
class EngineHome {
public:
    EngineHome() = default;   // a new empty folder. Throws FileError.

    const std::filesystem::path& path() const { return folder_.path(); }
    // Makes it the home that the environment names, its cache included; what is read in the user's own (settings,
    // fonts, the key to the display) and can be read keeps its place. Without other threads, before the toolkit starts.
    void moveIn() const;
    // Only the engine's part of it, for a program with windows, which shows the user's own home: the cache, where the
    // user's cannot be written. At the same time.
    void moveCacheIn() const;

private:
    TemporaryFolder folder_{"ostrel-engine-"};
};

}   // namespace ostrel
