#include "platform/TemporaryFolder.h"

#include "platform/Files.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

// A folder just made is not locked yet.
constexpr auto surelyLocked = std::chrono::seconds(5);

// The open folder, locked; -1 when it is no folder, another user's or in use.
int lockFolder(const fs::path& folder) {
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0) return -1;
    struct stat status {};
    const bool isOurs = fstat(descriptor, &status) == 0 && status.st_uid == geteuid();
    if (isOurs && flock(descriptor, LOCK_EX | LOCK_NB) == 0) return descriptor;
    close(descriptor);
    return -1;
}

// Mail that a killed program was printing should not lie about until the system is started again.
void removeForsaken(const fs::path& parent, std::string_view prefix) {
    std::error_code ignored;
    for (fs::directory_iterator each(parent, ignored), end; each != end; each.increment(ignored)) {
        const fs::path& folder = each->path();
        if (!folder.filename().native().starts_with(prefix)) continue;
        const auto changed = fs::last_write_time(folder, ignored);
        if (ignored || fs::file_time_type::clock::now() - changed < surelyLocked) continue;
        const int lock = lockFolder(folder);
        if (lock < 0) continue;
        fs::remove_all(folder, ignored);
        close(lock);
    }
}

}   // namespace

TemporaryFolder::TemporaryFolder(std::string_view prefix) {
    std::error_code error;
    fs::path parent = fs::temp_directory_path(error);
    if (error) parent = "/tmp";
    removeForsaken(parent, prefix);
    std::string name = (parent / (std::string(prefix) + "XXXXXX")).string();
    if (!mkdtemp(name.data())) throw FileError::writing(name, std::error_code(errno, std::generic_category()));
    path_ = name;
    lock_ = lockFolder(path_);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
    if (lock_ >= 0) close(lock_);
}

}   // namespace ostrel
