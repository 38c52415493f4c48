#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

// Whether an archive is whole: every file that its sums name, and every row of its index.
namespace ostrel::Verification {

struct Finding {
    enum class Kind {
        changed,      // a file has other bytes than were written, or cannot be read
        missing,      // a file is not there
        strange,      // a file is there that is no export's
        row,          // of the index: its PDF or its attachments were never written
        unfinished,   // the export, or an update of it, has not come to its end; name: the file that says so
    };
    Kind kind;
    std::string name;      // of the file, as bytes; of a row its number, the titles being 1
    std::string renamed;   // of a missing file: the strange one that has its bytes, if there is one
    bool operator==(const Finding&) const = default;
};

struct Result {
    std::size_t files = 0, whole = 0;   // that the archive ought to have, and of these
    std::vector<Finding> findings;      // sorted by kind and name; empty: the archive is whole
    bool isCancelled = false;
    bool operator==(const Result&) const = default;
};

// Reads every file and changes nothing. progress is called on the calling thread. Throws FileError when the folder
// cannot be read, UpdateError (noArchive) when it is none.
Result verify(const std::filesystem::path& folder,
              const std::function<void(std::size_t done, std::size_t total)>& progress, const std::stop_token& cancel);

}   // namespace ostrel::Verification
