#include "platform/Descriptor.h"
#include "platform/Files.h"

#include <array>
#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace ostrel::files {
namespace {

// A new hidden file beside its target. Gone again unless moved over the target.
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
    [[noreturn]] void fail() const { throw FileError::writing(target_, lastError()); }

    const std::filesystem::path& target_;
    std::filesystem::path path_;
    int descriptor_ = -1;
    bool isMoved_ = false;
};

// Short whatever the target's name is: that may use up all the bytes a name can have.
std::string temporaryName() {
    static std::atomic<unsigned> counter{0};
    return ".ostrel-" + std::to_string(::getpid()) + "-" + std::to_string(++counter) + ".part";
}

TemporaryFile::TemporaryFile(const std::filesystem::path& target) : target_(target) {
    constexpr int attempts = 100;   // a killed process that had our id may have left some behind
    for (int i = 0; i < attempts && descriptor_ < 0; ++i) {
        path_ = target.parent_path() / temporaryName();
        descriptor_ =
            uninterrupted([&] { return ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666); });
        if (descriptor_ < 0 && errno != EEXIST) break;
    }
    if (descriptor_ < 0) fail();
}

TemporaryFile::~TemporaryFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
    if (!isMoved_) ::unlink(path_.c_str());
}

void TemporaryFile::write(std::string_view content) {
    while (!content.empty()) {
        const ssize_t count = uninterrupted([&] { return ::write(descriptor_, content.data(), content.size()); });
        if (count < 0) fail();
        content.remove_prefix(static_cast<std::size_t>(count));
    }
}

void TemporaryFile::moveToTarget() {
    // Linux has closed the file also when a signal came in between; a network disk reports a failed write only here.
    if (::close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR) fail();
    if (::rename(path_.c_str(), target_.c_str()) != 0) fail();
    isMoved_ = true;
}

}   // namespace

void createFolders(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) throw FileError::writing(folder, error);
}

void writeAtomically(const std::filesystem::path& path, ByteView content) {
    TemporaryFile file(path);
    file.write(charsOf(content));
    file.moveToTarget();
}

void copyAtomically(const std::filesystem::path& from, const std::filesystem::path& to) {
    const Descriptor source = openForReading(from);
    TemporaryFile file(to);
    // The file system shares or copies the blocks itself where it can. Where it cannot, or stops half-way, the loop
    // below goes on from there and meets the error, if there is one, on the side it belongs to.
    constexpr std::size_t atOnce = std::size_t{1} << 30;
    while (::copy_file_range(source.number(), nullptr, file.descriptor(), nullptr, atOnce, 0) > 0) {
    }
    std::array<char, 65536> buffer;
    while (true) {
        const ssize_t count = uninterrupted([&] { return ::read(source.number(), buffer.data(), buffer.size()); });
        if (count < 0) throw FileError::reading(from, lastError());
        if (count == 0) break;
        file.write({buffer.data(), static_cast<std::size_t>(count)});
    }
    file.moveToTarget();
}

}   // namespace ostrel::files
