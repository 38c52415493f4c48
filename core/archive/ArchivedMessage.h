#pragma once

#include "core/archive/ArchivedFile.h"
#include "core/mailstore/MailIndex.h"
#include "platform/Time.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace ostrel {

// What a run made of one message, and from what.
struct FiledMessage {
    // How far it came; in all but the first it is to be tried again.
    enum class State { whole, unread, unsaved, unprinted };   // "unsaved": not all of its attachments

    std::string name;   // of its PDF, without extension, and of the folder of its attachments
    State state = State::whole;
    std::vector<ArchivedFile> files;   // "<name>.pdf", then "<name>/<attachment>" in the message's order
    bool lacksAttachments = false;     // some were not in the mail folder
    std::string simplified;            // what the PDF lacks, a sentence; empty: nothing

    std::optional<Digest> digest;   // of the message's bytes (RFC 5322), without the mail program's own; absent: unread
    std::string path;               // of the message file below the mail folder, as it was when it was read, like:
    std::uint64_t size = 0;         // bytes
    Instant modified;

    std::string pdfName() const { return name + ".pdf"; }
    bool hasPDF() const { return !files.empty() && files.front().name.find('/') == std::string::npos; }
    std::size_t attachmentCount() const { return files.size() - (hasPDF() ? 1 : 0); }
    // Whether the index names the folder: when all attachments that there were are in it.
    bool hasFolder() const { return attachmentCount() > 0 && state != State::unsaved; }

    bool operator==(const FiledMessage&) const = default;
};

// What an archive knows of one message: enough to know it again, and to write its row of the index when the mail folder
// has it no longer.
struct ArchivedMessage : FiledMessage {
    std::string mailbox;      // name to show
    MessageSummary summary;   // url and mailboxID are not kept

    bool operator==(const ArchivedMessage&) const = default;
};

// Lines of messages.jsonl and of the journal of a run: each a JSON object (RFC 8259). Texts are UTF-8, dates
// microseconds since 1970.
namespace ArchiveLine {

// {"claim":"A/photo.jpg"}: the run is about to write this.
struct Claim {
    std::string name;   // isArchiveName
    bool operator==(const Claim&) const = default;
};
// {"run":"export"}: the first of the journal; "update" where the archive was whole before.
struct Beginning {
    bool isUpdate = false;
    bool operator==(const Beginning&) const = default;
};
using Line = std::variant<std::monostate, ArchivedMessage, Claim, Beginning>;

std::string write(const FiledMessage& message, const MessageSummary& summary, const std::string& mailbox);
std::string write(const Claim& claim);
std::string write(Beginning beginning);

// std::monostate for what is none of these, or names a file outside the archive or of another message. Never fails.
Line parse(std::string_view line);

}   // namespace ArchiveLine
}   // namespace ostrel
