#pragma once

#include "core/mailstore/MailIndex.h"
#include "platform/Bytes.h"
#include "platform/Files.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ostrel {

// What earlier scans of a mail folder read of its message files, so that the next one opens only what is new or has
// changed. An entry is believed as long as its file has the same path, size, inode and times, to the nanosecond.
//
// One flat file for each mail folder, read once from beginning to end and written whole. A database would gain
// nothing: a scan needs every entry, in the order of the walk, and looking them up one by one takes longer than
// reading all. A file that is damaged, of another version or of another mail folder counts as none.
//
// Two threads may use one object: one finds entries while the other reads and keeps them.
class SummaryCache {
public:
    // "ostrel/mail" in the user's cache folder.
    static std::filesystem::path usersFolder();
    struct Place {
        std::filesystem::path folder;
        Instant now;   // a file that has changed just before is not kept: it may change again unnoticed
    };
    // Loads what is kept there for the mail folder root, which is absolute.
    SummaryCache(const Place& place, const std::filesystem::path& root);
    SummaryCache(const SummaryCache&) = delete;
    SummaryCache& operator=(const SummaryCache&) = delete;

    // What is kept of one file. Lives as long as the cache.
    using Entry = std::string_view;

    // The entry of a file; empty if there is none or the file has changed since. folder: ends with a slash. Takes
    // constant time when called in the order of a walk.
    Entry find(std::string_view folder, std::string_view name, const files::Facts& facts);

    struct Kept {
        MessageSummary summary;   // without url and mailboxID
        bool isMixed = false;     // multipart/mixed: it has attachments whatever lies beside the file
    };
    Kept read(Entry entry);

    // Keeps an entry that was found, or what was read of a file, for the next scan. Call it in the order of the walk.
    void keep(std::string_view folder, Entry entry);
    void keep(std::string_view folder, std::string_view name, const files::Facts& facts, const Kept& kept);

    // Replaces the file by what was kept, unless that is the same. Makes the folder, for this user alone, and removes
    // the files of mail folders scanned longest ago when there are more than a few. Throws FileError.
    void save() const;

private:
    struct Folder {
        std::vector<Entry> entries;   // in byte order of their names
        std::size_t next = 0;         // where the walk is
    };
    using People = Shared<std::vector<MailAddress>>;

    bool load();
    void enterKept(std::string_view folder);

    const std::filesystem::path file_;
    const std::string head_;       // what the file begins with
    const std::uint64_t newest_;   // latest change of a file that is kept, as in files::Facts

    Bytes bytes_;   // of the file; entries point into them
    std::size_t loaded_ = 0, reused_ = 0, added_ = 0;
    std::unordered_map<std::string_view, Folder> folders_;
    std::string foundFolderName_;
    Folder* foundFolder_ = nullptr;
    std::unordered_map<std::string_view, People> people_;   // by their bytes in the file

    std::vector<std::string_view> kept_;   // what the file will be, into bytes_ and own_
    std::deque<std::string> own_;
    std::string keptFolder_;
    std::size_t keptBytes_ = 0;
};

}   // namespace ostrel
