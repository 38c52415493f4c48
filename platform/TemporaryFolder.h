#pragma once

#include <filesystem>
#include <string_view>

namespace ostrel {

// A folder of our own in the system's temporary folder, readable by this user only; removed with its content. One that
// an earlier program of this user left, because it was killed, is removed when the next with its prefix is made.
class TemporaryFolder {
public:
    // The name begins with the prefix. Throws FileError.
    explicit TemporaryFolder(std::string_view prefix);
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
    int lock_;   // open and locked as long as the folder is in use
};

}   // namespace ostrel
