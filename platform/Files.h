#pragma once

#include "platform/Bytes.h"
#include "platform/FilePath.h"
#include "platform/Time.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace ostrel {

// A request to the file system that failed. what() is one sentence for a person, with the path and the reason.
class FileError : public std::runtime_error {
public:
    enum class Kind { notFound, notPermitted, diskFull, alreadyExists, unreadable, unwritable };
    FileError(Kind kind, std::filesystem::path path, std::error_code cause);
    // The kind follows from the cause.
    static FileError reading(std::filesystem::path path, std::error_code cause);
    static FileError writing(std::filesystem::path path, std::error_code cause);

    const Kind kind;
    const std::filesystem::path path;
    const std::error_code cause;

private:
    FileError(Kind kind, std::filesystem::path path, std::error_code cause, const std::string& otherwise);
};

// The name of a file for showing: valid UTF-8, undecodable bytes as U+FFFD. Never use it to open the file.
std::string displayText(const std::filesystem::path& path);

namespace files {

// ---- Reading. Nothing here opens anything for writing, takes a lock or follows a link into a folder. ----

// Files of this size and more are unreadable (EFBIG): no message comes near it, and a file can claim any size without
// having it.
constexpr std::size_t readLimitBytes = (std::size_t{1} << 31) - 1;

// The whole file. Throws FileError; anything but a regular file is unreadable.
Bytes readWhole(const std::filesystem::path& path);

struct Entry;

// What tells a file from every other, and from itself after a change.
struct Facts {
    std::uint64_t inode = 0, size = 0;   // size in bytes
    // Of content or attributes, and of content only: nanoseconds since 1970, which begin anew after 584 years.
    std::uint64_t changed = 0, modified = 0;
    bool operator==(const Facts&) const = default;
};

// An open file, read-only; closed by the destructor.
class ReadHandle {
public:
    // Throws FileError; anything but a regular file is unreadable.
    explicit ReadHandle(const std::filesystem::path& path);
    // The same for an entry under the visitor's eyes, by the shorter way of its open folder.
    explicit ReadHandle(const Entry& entry);
    ReadHandle(const ReadHandle&) = delete;
    ReadHandle& operator=(const ReadHandle&) = delete;
    ~ReadHandle();

    // Fills the buffer with the next bytes and returns how many there are, fewer only at the end that the file had when
    // it was opened. Throws FileError.
    std::size_t read(std::span<char> buffer);
    // Appends the rest of the file to out. Throws FileError.
    void readToEnd(std::string& out);
    // Of the file when it was opened.
    const Facts& facts() const { return facts_; }
    Instant modificationDate() const { return modified_; }

private:
    FilePath path_;
    int descriptor_;
    std::uint64_t position_ = 0;
    Facts facts_;
    Instant modified_;
};

// The names in a folder, hidden ones included, "." and ".." not, sorted by their bytes. Throws FileError.
std::vector<std::filesystem::path> list(const std::filesystem::path& folder);

struct Entry {
    const FilePath& path;    // lives for the call
    std::string_view name;   // last component, as bytes
    bool isFolder;           // a link to a folder is not a folder
    int openFolder;          // descriptor of the folder it is in; -1 where that is closed again
};
// Facts about the file, without opening it; nullopt if it is no regular file. Follows links.
std::optional<Facts> facts(const Entry& entry);
enum class Walk { on, skipFolder, stop };
enum class Hidden { skip, include };

// Visits everything below the folder, each folder's entries in byte order, a folder before its content. Folders that
// cannot be listed are passed over. Throws FileError only when the folder itself cannot be listed.
void walk(const std::filesystem::path& folder, Hidden hidden, const std::function<Walk(const Entry&)>& visit);

bool exists(const std::filesystem::path& path);
bool isFolder(const std::filesystem::path& path);   // follows links
// True for a regular file that is not reached through a symbolic link as its last component.
bool isRegularFile(const std::filesystem::path& path);
std::optional<std::uint64_t> size(const std::filesystem::path& path);

// What the system says of a name without opening it. A link is neither file nor folder.
struct Status {
    bool isRegularFile = false;
    bool isFolder = false;
    std::uint64_t size = 0;
    Instant modified;   // the content
    Instant changed;    // content or name, by the system's own clock: no program can set it back
    bool operator==(const Status&) const = default;
};
// nullopt when there is no such name.
std::optional<Status> status(const FilePath& path);
std::optional<Status> status(const Entry& entry);
std::optional<Instant> modificationDate(const std::filesystem::path& path);

// ---- Writing, for the export folder and the settings only. All throw FileError. ----

// Creates the folder and its missing parents; an existing folder is fine.
void createFolders(const std::filesystem::path& folder);
// The same, with a folder that only this user can look into; missing parents are ordinary folders.
void createPrivateFolder(const std::filesystem::path& folder);
// Creates a folder that is not there yet in one that is: where a disk has been pulled out below it, nothing appears on
// the disk underneath.
void createFolder(const std::filesystem::path& folder);
// Writes beside the target without a name or under a hidden one, checks the close, gives it the target's: the target is
// whole or not there. On failure the temporary file is removed.
void writeAtomically(const std::filesystem::path& path, ByteView content);
// The same for pieces, one after the other.
void writeAtomically(const std::filesystem::path& path, const std::vector<ByteView>& pieces);
// Copies a file's bytes the same way.
void copyAtomically(const std::filesystem::path& from, const std::filesystem::path& to);
// True for the hidden name of a file that was being written when the program was killed.
bool isUnfinishedName(std::string_view name);
// Removes a file, if it is there.
void remove(const std::filesystem::path& path);
void setModificationDate(const std::filesystem::path& path, Instant when);
// Returns when what was written to the folder's disk is on it, also after a loss of power, and when whatever is written
// later has a later date.
void settle(const std::filesystem::path& folder);

}   // namespace files
}   // namespace ostrel
