#pragma once

#include "core/archive/ArchivedMessage.h"
#include "core/archive/Sums.h"
#include "platform/Files.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace ostrel {

// The folder of an export, as a reader finds it. It can come from anybody: whatever its files say, nothing outside the
// folder is named, and no link in it is followed.
struct Archive {
    static constexpr const char* indexName = "index.csv";
    // The digest of every file but itself, for everybody to check.
    static constexpr const char* sumsName = "SHA256SUMS";
    // A line for each message, oldest first: what is needed to know it again.
    static constexpr const char* messagesName = "messages.jsonl";
    // Lines of a run that has not come to its end: what it is about to write, and what it has written. Gone when all
    // the others are written.
    static constexpr const char* journalName = "messages.jsonl.unfinished";

    std::vector<ArchivedMessage> messages;       // of one name only the last; those of the journal behind the others
    std::vector<ArchivedFile> sums;              // as sumsName says
    bool hasSums = false, hasMessages = false;   // there is such a file
    std::size_t damagedSums = 0, damagedMessages = 0;   // lines that could not be read
    std::optional<Digest> messagesDigest;               // of that file's content
    bool isUnfinished = false;                          // there is a journal
    bool isFirstRun = false;                            // and its run, or the first of several, made the folder
    std::unordered_set<std::string> claims;   // names that the journal's runs were about to write, and no message has

    // Throws FileError when the folder, or a file of the above that is there, cannot be read.
    static Archive read(const std::filesystem::path& folder);
};

// What there is below an archive's folder, by its name below it: files, links and whatever else, no folders but links
// to such. Throws FileError when the folder cannot be listed.
using ArchiveFiles = std::map<std::string, files::Status>;
ArchiveFiles listArchive(const std::filesystem::path& folder);

// The digest of a file of the archive; nullopt when it is not there, is no regular file or lies behind a link, or
// cannot be read.
std::optional<Digest> digestInArchive(const std::filesystem::path& folder, const std::string& name);

}   // namespace ostrel
