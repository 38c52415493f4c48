#include "platform/Files.h"

#include "platform/Descriptor.h"
#include "platform/SystemCalls.h"
#include "platform/Text.h"
#include "platform/Translation.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

using i18n::tr;

bool isPermission(std::error_code cause) {
    return cause == std::errc::permission_denied || cause == std::errc::operation_not_permitted;
}

FileError::Kind readingKind(std::error_code cause) {
    using enum FileError::Kind;
    if (isPermission(cause)) return notPermitted;
    if (cause == std::errc::no_such_file_or_directory || cause == std::errc::not_a_directory) return notFound;
    return unreadable;
}

FileError::Kind writingKind(std::error_code cause) {
    using enum FileError::Kind;
    if (cause == std::errc::no_space_on_device || cause.value() == EDQUOT) return diskFull;
    if (isPermission(cause) || cause == std::errc::read_only_file_system) return notPermitted;
    if (cause == std::errc::no_such_file_or_directory) return notFound;
    if (cause == std::errc::file_exists) return alreadyExists;
    return unwritable;
}

// otherwise: the sentence of kinds that have none of their own, with places for the path and the reason.
std::string sentence(FileError::Kind kind, const std::filesystem::path& path, std::error_code cause,
                     const std::string& otherwise) {
    const auto about = [&](const std::string& text) { return i18n::filled(text, displayText(path), cause.message()); };
    switch (kind) {
        case FileError::Kind::notFound:
            return about(tr("“%@” can’t be found: %@."));
        case FileError::Kind::alreadyExists:
            return about(tr("“%@” already exists."));
        case FileError::Kind::diskFull:
            return about(tr("“%@” can’t be saved because the disk is full: %@."));
        case FileError::Kind::notPermitted:
        case FileError::Kind::unreadable:
        case FileError::Kind::unwritable:
            break;
    }
    return about(otherwise);
}

std::string cannotBeRead() { return tr("“%@” can’t be read: %@."); }
std::string cannotBeSaved() { return tr("“%@” can’t be saved: %@."); }

std::string usualSentence(FileError::Kind kind) {
    if (kind == FileError::Kind::unreadable) return cannotBeRead();
    if (kind == FileError::Kind::unwritable) return cannotBeSaved();
    return tr("“%@” can’t be opened: %@.");
}

Instant instantOf(const timespec& time) {
    return Instant(std::chrono::seconds(time.tv_sec) +
                   std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::nanoseconds(time.tv_nsec)));
}

std::optional<struct stat> statusOf(const char* path, int flags = 0, int folder = AT_FDCWD) {
    struct stat status {};
    if (::fstatat(folder, path, &status, flags) != 0) return std::nullopt;
    return status;
}
std::optional<struct stat> statusOf(const std::filesystem::path& path, int flags = 0) {
    return statusOf(path.c_str(), flags);
}

files::Facts factsOf(const struct stat& status) {
    const auto nanoseconds = [](const timespec& time) {
        return static_cast<std::uint64_t>(time.tv_sec) * 1'000'000'000 + static_cast<std::uint64_t>(time.tv_nsec);
    };
    return {static_cast<std::uint64_t>(status.st_ino), static_cast<std::uint64_t>(status.st_size),
            nanoseconds(status.st_ctim), nanoseconds(status.st_mtim)};
}

// O_NOATIME is for the owner of a file only; the mail store may belong to someone else.
files::Descriptor openQuietly(const char* path, int flags, int folder = AT_FDCWD) {
    flags |= O_RDONLY | O_CLOEXEC | O_NOCTTY;
    const auto open = [&](int more) {
        return files::uninterrupted([&] { return files::systemCalls().open(folder, path, flags | more, 0); });
    };
    int number = open(O_NOATIME);
    if (number < 0 && errno == EPERM) number = open(0);
    return files::Descriptor(number);
}

struct FolderEntry {
    std::string name;
    bool isFolder;
};

bool isFolderEntry(const dirent& entry, int folder) {
    if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat status {};
    return ::fstatat(folder, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

struct CloseFolder {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
struct OpenFolder {
    std::unique_ptr<DIR, CloseFolder> directory;
    std::vector<FolderEntry> entries;   // in byte order
};

// With O_NOFOLLOW in flags a link to a folder is refused. Throws FileError.
OpenFolder openFolder(const FilePath& folder, int flags = 0) {
    files::Descriptor descriptor = openQuietly(folder.native().c_str(), flags | O_DIRECTORY);
    if (!descriptor.isOpen()) throw FileError::reading(folder, files::lastError());
    std::unique_ptr<DIR, CloseFolder> directory(::fdopendir(descriptor.number()));
    if (!directory) throw FileError::reading(folder, files::lastError());
    descriptor.release();

    std::vector<FolderEntry> entries;
    while (true) {
        errno = 0;
        const dirent* entry = files::systemCalls().nextEntry(directory.get());
        if (entry == nullptr) break;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            entries.push_back({std::string(name), isFolderEntry(*entry, ::dirfd(directory.get()))});
    }
    if (errno != 0) throw FileError::reading(folder, files::lastError());
    std::ranges::sort(entries, {}, &FolderEntry::name);
    return {std::move(directory), std::move(entries)};
}

// Appends what the descriptor still gives. expected is how many bytes there probably are; the file may be growing or
// shrinking under us.
void appendFrom(int descriptor, const FilePath& path, std::string& out, std::size_t expected) {
    constexpr std::size_t smallestStep = 4096;
    std::size_t filled = out.size();
    for (std::size_t step = std::max(expected, smallestStep);; step = filled) {   // then as much again
        if (step > files::readLimitBytes || filled > files::readLimitBytes - step)
            throw FileError::reading(path, std::make_error_code(std::errc::file_too_large));
        const std::size_t stepEnd = filled + step;
        out.resize(stepEnd);
        while (filled < stepEnd) {
            const ssize_t count = files::uninterrupted(
                [&] { return files::systemCalls().read(descriptor, out.data() + filled, stepEnd - filled); });
            if (count < 0) throw FileError::reading(path, files::lastError());
            if (count == 0) return out.resize(filled);
            filled += static_cast<std::size_t>(count);
        }
    }
}

struct OpenFile {
    files::Descriptor descriptor;
    struct stat status;
};

// A named pipe called *.emlx must not hold us up, so the open does not wait, and only regular files are read.
OpenFile openRegularFile(const files::Entry& entry) {
    const FilePath& path = entry.path;
    OpenFile file{entry.openFolder < 0 ? openQuietly(path.native().c_str(), O_NONBLOCK)
                                       : openQuietly(std::string(entry.name).c_str(), O_NONBLOCK, entry.openFolder),
                  {}};
    if (!file.descriptor.isOpen() || files::systemCalls().status(file.descriptor.number(), &file.status) != 0)
        throw FileError::reading(path, files::lastError());
    if (S_ISDIR(file.status.st_mode)) throw FileError::reading(path, std::make_error_code(std::errc::is_a_directory));
    if (!S_ISREG(file.status.st_mode))
        throw FileError::reading(path, std::make_error_code(std::errc::operation_not_supported));
    return file;
}

}   // namespace

FileError::FileError(Kind k, std::filesystem::path p, std::error_code c)
    : FileError(k, std::move(p), c, usualSentence(k)) {}

FileError::FileError(Kind k, std::filesystem::path p, std::error_code c, const std::string& otherwise)
    : std::runtime_error(sentence(k, p, c, otherwise)), kind(k), path(std::move(p)), cause(c) {}

FileError FileError::reading(std::filesystem::path path, std::error_code cause) {
    return FileError(readingKind(cause), std::move(path), cause, cannotBeRead());
}

FileError FileError::writing(std::filesystem::path path, std::error_code cause) {
    return FileError(writingKind(cause), std::move(path), cause, cannotBeSaved());
}

std::string displayText(const std::filesystem::path& path) { return text::toValidUTF8(path.native()); }

namespace files {

Descriptor openForReading(const std::filesystem::path& path) {
    return openRegularFile({path, {}, false, -1}).descriptor;
}

ReadHandle::ReadHandle(const std::filesystem::path& path) : ReadHandle(Entry{path, {}, false, -1}) {}

ReadHandle::ReadHandle(const Entry& entry) : path_(entry.path) {
    OpenFile file = openRegularFile(entry);
    descriptor_ = file.descriptor.release();
    facts_ = factsOf(file.status);
    modified_ = instantOf(file.status.st_mtim);
}

ReadHandle::~ReadHandle() { ::close(descriptor_); }

std::size_t ReadHandle::read(std::span<char> buffer) {
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const ssize_t count = uninterrupted(
            [&] { return systemCalls().read(descriptor_, buffer.data() + filled, buffer.size() - filled); });
        if (count < 0) throw FileError::reading(path_, lastError());
        filled += static_cast<std::size_t>(count);
        position_ += static_cast<std::uint64_t>(count);
        // At the known end no further call is made to hear of it: a scan reads a hundred thousand files.
        if (count == 0 || position_ == facts_.size) break;
    }
    return filled;
}

void ReadHandle::readToEnd(std::string& out) {
    const std::size_t before = out.size();
    // One allocation for the size the file had; the byte more finds the end without another.
    appendFrom(descriptor_, path_, out, facts_.size > position_ ? facts_.size - position_ + 1 : 0);
    position_ += out.size() - before;
}

Bytes readWhole(const std::filesystem::path& path) {
    std::string content;
    ReadHandle(path).readToEnd(content);
    return Bytes(std::move(content));
}

std::vector<std::filesystem::path> list(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> names;
    for (FolderEntry& entry : openFolder(folder).entries) names.emplace_back(std::move(entry.name));
    return names;
}

void walk(const std::filesystem::path& folder, Hidden hidden, const std::function<Walk(const Entry&)>& visit) {
    // The entries still to visit of the folder at hand and of those above it, last first. `at` is the folder at hand,
    // with a slash at its end. Only the folder entered last stays open, and until its first subfolder: those above may
    // be more than a process can have open.
    std::vector<std::vector<FolderEntry>> pending;
    std::unique_ptr<DIR, CloseFolder> open;
    const auto descend = [&](OpenFolder entered) {
        open = std::move(entered.directory);
        std::ranges::reverse(entered.entries);
        pending.push_back(std::move(entered.entries));
    };
    std::string at = folder.native();
    descend(openFolder(folder));
    if (!at.ends_with('/')) at += '/';
    while (true) {
        if (pending.back().empty()) {
            pending.pop_back();
            open.reset();
            if (pending.empty()) return;
            at.pop_back();
            at.resize(at.rfind('/') + 1);
            continue;
        }
        const FolderEntry entry = std::move(pending.back().back());
        pending.back().pop_back();
        if (hidden == Hidden::skip && entry.name.starts_with('.')) continue;
        const FilePath path(at + entry.name);
        const Walk answer = visit({path, entry.name, entry.isFolder, open ? ::dirfd(open.get()) : -1});
        if (answer == Walk::stop) return;
        if (answer == Walk::skipFolder || !entry.isFolder) continue;
        try {
            descend(openFolder(path, O_NOFOLLOW));
            at += entry.name + '/';
        } catch (const FileError&) {
            // Not ours to read, or gone since its parent was listed: the rest of the tree still counts.
        }
    }
}

std::optional<Facts> facts(const Entry& entry) {
    const auto status = entry.openFolder < 0 ? statusOf(entry.path.native().c_str())
                                             : statusOf(std::string(entry.name).c_str(), 0, entry.openFolder);
    return status && S_ISREG(status->st_mode) ? std::optional(factsOf(*status)) : std::nullopt;
}

bool exists(const std::filesystem::path& path) { return statusOf(path).has_value(); }

bool isFolder(const std::filesystem::path& path) {
    const auto status = statusOf(path);
    return status && S_ISDIR(status->st_mode);
}

bool isRegularFile(const std::filesystem::path& path) {
    const auto status = statusOf(path, AT_SYMLINK_NOFOLLOW);
    return status && S_ISREG(status->st_mode);
}

std::optional<std::uint64_t> size(const std::filesystem::path& path) {
    const auto status = statusOf(path);
    if (!status || !S_ISREG(status->st_mode)) return std::nullopt;
    return static_cast<std::uint64_t>(status->st_size);
}

std::optional<Status> statusAt(int folder, const char* name) {
    struct stat status {};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
    return Status{S_ISREG(status.st_mode), S_ISDIR(status.st_mode), static_cast<std::uint64_t>(status.st_size),
                  instantOf(status.st_mtim), instantOf(status.st_ctim)};
}

std::optional<Status> status(const FilePath& path) { return statusAt(AT_FDCWD, path.native().c_str()); }

std::optional<Status> status(const Entry& entry) {
    if (entry.openFolder < 0) return status(entry.path);
    return statusAt(entry.openFolder, std::string(entry.name).c_str());
}

std::optional<Instant> modificationDate(const std::filesystem::path& path) {
    const auto status = statusOf(path);
    if (!status) return std::nullopt;
    return instantOf(status->st_mtim);
}

}   // namespace files
}   // namespace ostrel
