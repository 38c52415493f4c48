#pragma once

#include <filesystem>
#include <optional>

namespace ostrel::files {

// Keeps a folder to one program at a time, among those that ask. Gone with the process however that ends; nothing
// appears in the folder.
class FolderLock {
public:
    // nullopt when another has it. Where the disk knows no locks, as some in a network, everybody gets one. Throws
    // FileError when the folder cannot be opened.
    static std::optional<FolderLock> take(const std::filesystem::path& folder);
    FolderLock(FolderLock&& other) noexcept;
    FolderLock& operator=(FolderLock&&) = delete;
    ~FolderLock();

private:
    explicit FolderLock(int descriptor) : descriptor_(descriptor) {}
    int descriptor_;
};

}   // namespace ostrel::files
