#pragma once

#include "core/archive/Archive.h"
#include "core/export/Exporter.h"
#include "core/export/FileNamer.h"
#include "core/export/InOrder.h"
#include "core/export/NamesInUse.h"
#include "core/message/MailMessage.h"
#include "platform/LineLog.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_set>
#include <vector>

namespace ostrel {

// Writes messages into the folder of an export, new or old, and at the end what the archive says of them. The journal
// tells a later run about everything that this one has not come to finish.
//
// As many messages are under way as the renderer takes at a time. What comes of them is the same as if they were
// exported one after the other: they are named in turn, and a message whose names another under way may write waits
// until that is done.
class ExportRun {
public:
    // One message that the archive holds or is to hold.
    struct Item {
        const MessageSummary* summary;   // outlives the run
        std::string mailbox;             // name to show
        bool isGone = false;             // from the mail folder
        // As the archive has it, if it does. Files of a whole one that are not damaged stay as they are.
        FiledMessage filed = {};
        std::unordered_set<std::string> damaged = {};   // names of its files
        bool hasMoreAttachments = false;                // than when it was written: everything is made anew
        bool isDue = true;
    };
    struct Folder {
        std::filesystem::path path;
        std::unordered_set<std::string> claims = {};   // Archive::claims
        std::vector<ArchivedFile> others = {};         // files that no item has, and that stay
        bool isUpdate = false;
    };

    // The items oldest first. The settings outlive the run.
    ExportRun(Folder folder, std::vector<Item> items, const ExportSettings& settings);

    // Exports what is due, and writes the files about it also when cancelled. renderer may be null when nothing is due.
    // progress is called in the messages' order, one call at a time, on any thread. Throws FileError when the journal
    // cannot be begun, IndexError when one of the others cannot be written.
    ExportResult run(PDFRendering* renderer, const std::function<void(const ExportProgress&)>& progress,
                     const std::stop_token& cancel);

    // What the sums would say if nothing were exported. lines: the digest of those about the messages, where it is
    // known.
    std::vector<ArchivedFile> sums(const std::optional<Digest>& lines) const;
    // The names of all files that are the export's.
    std::unordered_set<std::string> ownNames() const;

private:
    // Why a message failed.
    struct Trouble {
        std::string reason;
        std::string cause = {};   // as in ExportResult
        bool isDiskFull = false;
    };
    // What came of one message in this run.
    struct Made {
        FiledMessage filed = {};
        std::size_t attachments = 0;   // saved
        std::string simplified = {};   // as in FiledMessage, of a PDF made now
        std::optional<Trouble> trouble = {};
        bool isCancelled = false;   // by the renderer
    };
    std::optional<std::string> whyNotGoOn() const;
    Made exportItem(Item& item, Turns::Turn& naming);
    void exportParts(const Item& item, Made& made, NamesInUse::User& names, Turns::Turn& naming);
    static MailMessage read(const MessageSummary& summary, FiledMessage& filed);
    void saveAttachments(const Item& item, const MailMessage& message, Made& made);
    ArchivedFile save(const Item& item, const MailAttachment& attachment, const std::string& name, Made& made);
    void print(const Item& item, const MailMessage& message, Made& made);
    void settle(Item& item, FiledMessage filed);
    void count(const Item& item, Made made);

    std::string wishedName(const MessageSummary& summary) const;
    std::string firstName(const Item& item, NamesInUse::User& names);
    std::string freeName(const std::string& wished, NamesInUse::User& names, bool needsFolder);
    bool mayWrite(const std::string& name);
    bool isClaimed(const std::string& name);
    void claim(const std::string& name);
    void dropClaim(const std::string& name);
    void record(const Item& item);
    std::string index() const;
    std::string messageLines() const;
    std::vector<ArchivedFile> messageFiles() const;
    void writeArchiveFiles();

    const Folder folder_;
    const ExportSettings& settings_;
    std::vector<Item> items_;
    std::vector<std::string> threads_;   // of each item
    PDFRendering* renderer_ = nullptr;
    ExportResult result_;
    std::size_t fullInARow_ = 0;   // messages that found the disk full

    Turns naming_;
    FileNamer names_{{Archive::indexName}};   // in turn
    NamesInUse namesInUse_;
    std::mutex mutex_;                         // of what follows, while messages are under way
    std::unordered_set<std::string> claims_;   // what may be written over: names that are this export's own
    std::optional<files::LineLog> journal_;
};

}   // namespace ostrel
