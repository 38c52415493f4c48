#include "platform/Descriptor.h"
#include "platform/Files.h"
#include "platform/SystemCalls.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>

namespace ostrel::files {
namespace {

// A new file beside its target, without a name where the file system can make one, else hidden. Gone again unless moved
// over the target; one without a name also when the program is killed.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::filesystem::path& target);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    int descriptor() const { return descriptor_; }
    void write(std::string_view content);
    // Closes the file and gives it the target's name.
    void moveToTarget();

private:
    template <typename Make>
    void takeName(Make make);
    void close();
    [[noreturn]] void fail() const { throw FileError::writing(target_, lastError()); }

    const std::filesystem::path& target_;
    std::filesystem::path path_;   // empty as long as the file has no name; at the end the target
    int descriptor_ = -1;
};

// Short whatever the target's name is: that may use up all the bytes a name can have.
constexpr std::string_view temporaryPrefix = ".ostrel-";
constexpr std::string_view temporarySuffix = ".part";
std::string temporaryName() {
    static std::atomic<unsigned> counter{0};
    std::string name(temporaryPrefix);
    name += std::to_string(::getpid()) + "-" + std::to_string(++counter);
    return name.append(temporarySuffix);
}

int openNameless(const std::filesystem::path& folder) {
    static const bool canBeNamedLater = ::access("/proc/self/fd", X_OK) == 0;
    if (!canBeNamedLater) return -1;
    const std::filesystem::path here = folder.empty() ? "." : folder;
    return uninterrupted(
        [&] { return systemCalls().open(AT_FDCWD, here.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666); });
}

TemporaryFile::TemporaryFile(const std::filesystem::path& target)
    : target_(target), descriptor_(openNameless(target.parent_path())) {
    if (descriptor_ >= 0) return;
    takeName([&](const char* path) {
        return descriptor_ = uninterrupted(
                   [&] { return systemCalls().open(AT_FDCWD, path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666); });
    });
}

TemporaryFile::~TemporaryFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
    if (!path_.empty() && path_ != target_) ::unlink(path_.c_str());
}

// Tries temporary names until make makes a file of one; it returns a negative number if it could not.
template <typename Make>
void TemporaryFile::takeName(Make make) {
    constexpr int attempts = 100;   // a killed process that had our id may have left some behind
    for (int i = 0; i < attempts; ++i) {
        const auto path = target_.parent_path() / temporaryName();
        if (make(path.c_str()) >= 0) {
            path_ = path;
            return;
        }
        if (errno != EEXIST) break;
    }
    fail();
}

void TemporaryFile::write(std::string_view content) {
    while (!content.empty()) {
        const ssize_t count =
            uninterrupted([&] { return systemCalls().write(descriptor_, content.data(), content.size()); });
        if (count < 0) fail();
        content.remove_prefix(static_cast<std::size_t>(count));
    }
}

// Linux has closed the file also when a signal came in between; a network disk reports a failed write only here.
void TemporaryFile::close() {
    if (systemCalls().close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR) fail();
}

void TemporaryFile::moveToTarget() {
    if (path_.empty() && systemCalls().link(descriptor_, target_.c_str()) == 0) {
        path_ = target_;
        try {
            close();
        } catch (const FileError&) {
            ::unlink(target_.c_str());
            throw;
        }
        return;
    }
    // A file of that name is there already, to be replaced.
    if (path_.empty()) takeName([&](const char* path) { return systemCalls().link(descriptor_, path); });
    close();
    if (systemCalls().rename(path_.c_str(), target_.c_str()) != 0) fail();
    path_ = target_;
}

// wanted: the path that an error names.
void createFolderUnlessThere(const std::filesystem::path& path, const std::filesystem::path& wanted, mode_t mode) {
    if (isFolder(path) || systemCalls().makeFolder(path.c_str(), mode) == 0) return;
    const auto cause = lastError();
    if (cause != std::errc::file_exists) throw FileError::writing(wanted, cause);
    // Another program has been quicker, or it is a file.
    if (!isFolder(path)) throw FileError::writing(wanted, std::make_error_code(std::errc::not_a_directory));
}

}   // namespace

void createFolders(const std::filesystem::path& folder) {
    std::filesystem::path path;
    for (const auto& name : folder) {
        path /= name;
        if (!name.empty()) createFolderUnlessThere(path, folder, 0777);
    }
}

void createPrivateFolder(const std::filesystem::path& folder) {
    createFolders(folder.parent_path());
    createFolderUnlessThere(folder, folder, S_IRWXU);
}

void createFolder(const std::filesystem::path& folder) {
    if (systemCalls().makeFolder(folder.c_str(), 0777) != 0) throw FileError::writing(folder, lastError());
}

void writeAtomically(const std::filesystem::path& path, ByteView content) {
    writeAtomically(path, std::vector<ByteView>{content});
}

void writeAtomically(const std::filesystem::path& path, const std::vector<ByteView>& pieces) {
    TemporaryFile file(path);
    for (const auto piece : pieces) file.write(charsOf(piece));
    file.moveToTarget();
}

void copyAtomically(const std::filesystem::path& from, const std::filesystem::path& to) {
    const Descriptor source = openForReading(from);
    TemporaryFile file(to);
    // The file system shares or copies the blocks itself where it can. Where it cannot, or stops half-way, the loop
    // below goes on from there and meets the error, if there is one, on the side it belongs to.
    constexpr std::size_t atOnce = std::size_t{1} << 30;
    while (systemCalls().copy(source.number(), file.descriptor(), atOnce) > 0) {
    }
    std::array<char, 65536> buffer;
    while (true) {
        const ssize_t count =
            uninterrupted([&] { return systemCalls().read(source.number(), buffer.data(), buffer.size()); });
        if (count < 0) throw FileError::reading(from, lastError());
        if (count == 0) break;
        file.write({buffer.data(), static_cast<std::size_t>(count)});
    }
    file.moveToTarget();
}

bool isUnfinishedName(std::string_view name) {
    if (name.size() <= temporaryPrefix.size() + temporarySuffix.size()) return false;
    if (!name.starts_with(temporaryPrefix) || !name.ends_with(temporarySuffix)) return false;
    name.remove_prefix(temporaryPrefix.size());
    name.remove_suffix(temporarySuffix.size());
    return name.find_first_not_of("0123456789-") == std::string_view::npos;
}

void remove(const std::filesystem::path& path) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) throw FileError::writing(path, lastError());
}

void setModificationDate(const std::filesystem::path& path, Instant when) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(when);
    const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(when - seconds);
    const timespec times[] = {{0, UTIME_OMIT}, {seconds.time_since_epoch().count(), rest.count()}};
    if (::utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) throw FileError::writing(path, lastError());
}

void settle(const std::filesystem::path& folder) {
    const Descriptor open(uninterrupted(
        [&] { return systemCalls().open(AT_FDCWD, folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0); }));
    if (!open.isOpen() || systemCalls().flush(open.number()) != 0) throw FileError::writing(folder, lastError());
    // Files are dated by a clock that ticks every few milliseconds.
    const auto tick = [] {
        timespec now{};
        ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
        return std::pair(now.tv_sec, now.tv_nsec);
    };
    for (const auto before = tick(); tick() == before;) {
        const timespec moment{0, 500'000};
        ::nanosleep(&moment, nullptr);
    }
}

}   // namespace ostrel::files
