#pragma once

#include "core/message/Headers.h"
#include "core/message/MIMEPart.h"
#include "core/message/MailAddress.h"
#include "core/message/MailAttachment.h"
#include "core/message/Problem.h"
#include "platform/Time.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

// One stored message, fully parsed.
struct MailMessage {
    Headers headers;
    std::string subject;   // decoded and trimmed; empty when absent
    std::vector<MailAddress> from, to, cc, replyTo;
    std::optional<Instant> date;
    std::optional<std::string> messageID;
    std::vector<std::string> inReplyTo, references;
    std::optional<std::string> textBody;   // all plain texts, joined by an empty line
    std::optional<std::string> htmlBody;   // all HTML texts, joined by a rule
    std::vector<MailAttachment> attachments;
    std::map<std::string, MailAttachment> inlineImages;   // by Content-ID, those that the HTML refers to
    bool isPartial = false;                               // Mail stored the attachments outside the message file
    std::vector<std::string> problems;                    // codes of namespace problem

    // Never fails. Move the root in: its header fields are taken over. attachmentsFolder is where Mail keeps this
    // message's separately stored attachments, if known; it is only looked into, never written.
    static MailMessage make(MIMEPart root, bool isPartial,
                            const std::optional<std::filesystem::path>& attachmentsFolder);

    // "Kim <kim@example.com>, lee@example.com".
    static std::string line(const std::vector<MailAddress>& addresses);

    bool operator==(const MailMessage&) const = default;
};

}   // namespace ostrel
