#pragma once

#include "core/mailstore/Shared.h"
#include "core/mailstore/StoredPath.h"
#include "core/mailstore/TextList.h"
#include "core/message/MailAddress.h"
#include "platform/Time.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

// One message as the list shows it, read from the head of its file. There are hundreds of thousands in memory: what
// repeats is shared.
struct MessageSummary {
    StoredPath url;   // the message file
    Shared<std::string> mailboxID;
    std::string subject;
    Shared<std::vector<MailAddress>> from, to, cc;
    Instant date;   // the Date field, else the file's modification date
    std::optional<std::string> messageID;
    TextList inReplyTo, references;
    bool hasAttachments = false;
    bool isPartial = false;

    // Identity: the file's path, as the bytes the system knows it by.
    std::string id() const { return url.native(); }
    // The first sender's name, or address when it has no name; empty without a sender. Lives as long as this.
    const std::string& fromLine() const;

    bool operator==(const MessageSummary&) const = default;
};

struct Mailbox {
    std::string id;        // path relative to the walked folder
    std::string account;   // id of the owning account
    std::string name;      // to show; nested mailboxes read "Projects/Kitchen"
    std::size_t messageCount = 0;
    bool operator==(const Mailbox&) const = default;
};

struct MailAccount {
    std::string id;   // the account's folder name, possibly empty
    std::string label;
    std::vector<Mailbox> mailboxes;
    bool operator==(const MailAccount&) const = default;
};

// What a scan found.
struct MailIndex {
    std::vector<MailAccount> accounts;
    std::vector<MessageSummary> messages;   // newest first
    std::size_t unreadable = 0;             // message files that could not be read or are no messages
    std::filesystem::path root;             // the folder that was walked

    // The mailbox with that id, or null; lives as long as this index.
    const Mailbox* mailbox(const std::string& id) const;

    bool operator==(const MailIndex&) const = default;
};

}   // namespace ostrel
