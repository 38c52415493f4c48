#pragma once

#include "core/export/CSVIndex.h"
#include "core/export/PDFRendering.h"
#include "core/mailstore/MailIndex.h"
#include "core/page/PageLabels.h"
#include "platform/Files.h"
#include "platform/Time.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace ostrel {

// Options of one run.
struct ExportSettings {
    bool pdfs = true;
    bool attachments = true;
    bool csv = true;
    std::string folderName;             // wished; made safe and unique in the destination
    std::filesystem::path mailFolder;   // that the messages lie below: their files are remembered by the rest
    PageLabels labels;
    std::vector<std::string> csvHeaders = CSVIndex::defaultHeaders();
    Calendar calendar = Calendar::current();
    std::function<std::string(Instant)> dateText;   // on the page
    std::function<std::string(Instant)> csvDate;    // in the index

    // Defaults for the user's locale and time zone.
    explicit ExportSettings(std::string folderName);
};

struct ExportProgress {
    std::size_t done = 0;   // messages finished
    std::size_t total = 0;
    std::string current;   // subject of the message being started; empty in the last report
    bool operator==(const ExportProgress&) const = default;
};

struct ExportResult {
    struct Failure {
        std::string name;         // the subject, or the file's name
        std::string reason;       // a sentence
        std::string cause = {};   // the reason without the path in it; empty: the reason has none
        bool operator==(const Failure&) const = default;
    };
    struct Cause {
        std::string text;
        std::size_t messages;
        bool operator==(const Cause&) const = default;
    };
    struct Simplified {
        std::string name;   // as a failure has it
        std::string how;    // what its PDF lacks, a sentence
        bool operator==(const Simplified&) const = default;
    };
    std::filesystem::path folder;
    std::size_t exported = 0;      // messages processed to their end
    std::size_t attachments = 0;   // files saved
    std::vector<Failure> failed;
    bool cancelled = false;
    std::string stopped = {};   // why the run gave up before its last message, a sentence; empty: it did not
    std::size_t notTried = 0;   // messages left when it gave up
    std::vector<Simplified> simplified = {};   // of those exported
    std::string trouble = {};                  // what stood in the way of every page, a sentence; empty: nothing
    // Of an update only:
    std::size_t held = 0;                    // messages that the archive had, whole
    std::vector<std::string> strange = {};   // files in its folder that are no export's; they were left alone
    bool operator==(const ExportResult&) const = default;

    // Why messages failed, the most frequent cause first.
    std::vector<Cause> causes() const;
};

// The index could not be written; what was exported stays.
class IndexError : public FileError {
public:
    IndexError(const FileError& why, ExportResult exported) : FileError(why), result(std::move(exported)) {}
    const ExportResult result;
};

namespace Exporter {

// Exports the messages, which outlive the run, oldest first, into a new folder inside the destination: a PDF each,
// attachments in a folder of the same name; at the end, also when cancelled, index.csv and what an Archive keeps. One
// bad message is noted and the run goes on, unless no further one can be saved: the disk is full or the folder gone.
// cancel is asked before each message. progress is called in order, one call at a time, on any thread. Throws FileError
// when the folder cannot be created, IndexError when the index cannot be written.
ExportResult run(std::vector<const MessageSummary*> messages, const std::map<std::string, std::string>& mailboxNames,
                 const std::filesystem::path& into, const ExportSettings& settings, PDFRendering& renderer,
                 const std::function<void(const ExportProgress&)>& progress, std::stop_token cancel);

}   // namespace Exporter
}   // namespace ostrel
