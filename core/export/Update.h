#pragma once

#include "core/export/ExportRun.h"
#include "platform/FolderLock.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

namespace ostrel {

// A folder that cannot be brought up to date; what() is one sentence for a person.
class UpdateError : public std::runtime_error {
public:
    enum class Kind { inUse, noArchive };
    UpdateError(Kind kind, const std::filesystem::path& folder);
    const Kind kind;
};

// Brings the folder of an earlier export up to date, or goes on with one that was cut short: exports the messages that
// the archive does not hold, makes files again that are missing or damaged, and touches nothing else. What the mail
// folder has no longer stays in the archive. Nobody else writes to the folder as long as this lives.
//
// A message is known again by its bytes, wherever it lies; a message file of the same path, size and date is taken for
// the same without reading it. In the same way a file of the archive is taken for whole when the system has dated
// nothing there later than the sums; else all are read.
class Update {
public:
    struct Request {
        std::filesystem::path folder;
        std::vector<const MessageSummary*> messages;   // outlive the update; newest first
        std::map<std::string, std::string> mailboxNames;
        ExportSettings settings;
        // Of messages with one Message-ID one is enough: that which the archive has, else the first in the list.
        bool skipsDuplicates = false;
        // Whether a message that the archive does not hold is to be exported; empty: all are.
        std::function<bool(const MessageSummary&)> isWanted = {};
    };
    // An export that was cut short and that nobody is writing to: the folder itself, else the last begun of those in
    // it. nullopt when there is none, or nothing can be read there.
    static std::optional<std::filesystem::path> unfinishedIn(const std::filesystem::path& folder);

    // Finds out what is to be done, and does nothing but to remove what a killed program was writing. Throws FileError,
    // UpdateError.
    explicit Update(Request request, const std::stop_token& cancel = {});
    Update(const Update&) = delete;
    Update& operator=(const Update&) = delete;

    // How many messages are to be exported or made again.
    std::size_t due() const { return due_; }
    // As Exporter::run; renderer may be null when nothing is due. Writes nothing when nothing has changed. Once.
    ExportResult run(PDFRendering* renderer, const std::function<void(const ExportProgress&)>& progress,
                     const std::stop_token& cancel);

private:
    void readArchive();
    std::vector<ExportRun::Item> match(const std::stop_token& cancel);
    void refresh(FiledMessage& filed, const std::filesystem::path& file, std::string path) const;
    void findDamage(std::vector<ExportRun::Item>& items, const std::stop_token& cancel);
    void markDue(std::vector<ExportRun::Item>& items);
    bool isUpToDate() const;

    Request request_;
    files::FolderLock lock_;
    Archive archive_;
    ArchiveFiles present_;
    std::list<MessageSummary> gone_;     // of messages that the mail folder has no longer
    std::vector<ArchivedFile> others_;   // files that the sums name and no message has
    bool hasChangedLines_ = false;       // the lines about the messages are not those that were written
    bool hasSameLines_ = false;          // nor would they be written in another way now
    bool isTouched_ = true;              // something has changed in the folder since the sums were written
    bool isCancelled_ = false;           // before everything was looked at
    std::size_t due_ = 0, held_ = 0;
    std::vector<ExportResult::Failure> lost_;   // damaged, and gone from the mail folder
    std::optional<ExportRun> run_;
};

}   // namespace ostrel
