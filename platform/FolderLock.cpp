#include "platform/FolderLock.h"

#include "platform/Descriptor.h"
#include "platform/Files.h"
#include "platform/SystemCalls.h"

#include <fcntl.h>
#include <sys/file.h>

namespace ostrel::files {

std::optional<FolderLock> FolderLock::take(const std::filesystem::path& folder) {
    Descriptor open(uninterrupted(
        [&] { return systemCalls().open(AT_FDCWD, folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0); }));
    if (!open.isOpen()) throw FileError::reading(folder, lastError());
    if (uninterrupted([&] { return ::flock(open.number(), LOCK_EX | LOCK_NB); }) != 0 && errno == EWOULDBLOCK)
        return std::nullopt;
    return FolderLock(open.release());
}

FolderLock::FolderLock(FolderLock&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

FolderLock::~FolderLock() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

}   // namespace ostrel::files
