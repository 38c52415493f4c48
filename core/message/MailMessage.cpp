#include "core/message/MailMessage.h"

#include "core/message/BodyCollector.h"
#include "core/message/MailDate.h"
#include "core/message/MessageIDs.h"
#include "core/message/TextSearch.h"
#include "platform/Text.h"

namespace ostrel {
namespace {

std::vector<MailAddress> addresses(const Headers& headers, std::string_view name) {
    return MailAddress::list(headers.first(name).value_or(""));
}

std::vector<std::string> identifiers(const Headers& headers, std::string_view name) {
    return MessageIDs::list(headers.first(name).value_or(""));
}

bool hasTooManyAddresses(const MailMessage& message) {
    for (const auto* list : {&message.from, &message.to, &message.cc, &message.replyTo}) {
        if (list->size() >= MailAddress::listLimit) return true;
    }
    return message.inReplyTo.size() >= MessageIDs::listLimit || message.references.size() >= MessageIDs::listLimit;
}

// nullopt if there are no pieces; pieces may be empty.
std::optional<std::string> joined(const std::vector<std::string>& pieces, std::string_view separator) {
    if (pieces.empty()) return std::nullopt;
    std::size_t size = separator.size() * (pieces.size() - 1);
    for (const auto& piece : pieces) size += piece.size();
    std::string result;
    result.reserve(size);
    for (const auto& piece : pieces) {
        if (&piece != &pieces.front()) result += separator;
        result += piece;
    }
    return result;
}

// For each candidate whether the HTML refers to it (RFC 2392), letter case ignored.
std::vector<bool> referredTo(const std::vector<MailAttachment>& candidates, std::string_view html) {
    if (html.empty() || candidates.empty()) return std::vector<bool>(candidates.size());
    std::vector<std::string> patterns;
    patterns.reserve(candidates.size());
    for (const auto& candidate : candidates)
        patterns.push_back(text::foldCase("cid:" + candidate.contentID.value_or("")));
    return textSearch::occurrences(text::foldCase(html), patterns);
}

void addHeaderFields(MailMessage& message) {
    const auto& headers = message.headers;
    message.subject = text::trimBlanksAndNewlines(headers.decoded("Subject").value_or(""));
    message.from = addresses(headers, "From");
    message.to = addresses(headers, "To");
    message.cc = addresses(headers, "Cc");
    message.replyTo = addresses(headers, "Reply-To");
    if (const auto date = headers.first("Date")) message.date = MailDate::parse(*date);
    if (auto ids = identifiers(headers, "Message-ID"); !ids.empty()) message.messageID = std::move(ids.front());
    message.inReplyTo = identifiers(headers, "In-Reply-To");
    message.references = identifiers(headers, "References");
}

}   // namespace

MailMessage MailMessage::make(MIMEPart root, bool isPartial,
                              const std::optional<std::filesystem::path>& attachmentsFolder) {
    MailMessage message;
    message.isPartial = isPartial;

    BodyCollector collector;
    collector.partial = isPartial;
    collector.attachmentsFolder = attachmentsFolder;
    collector.collect(root);
    message.headers = std::move(root.headers);
    addHeaderFields(message);
    message.textBody = joined(collector.texts, "\n\n");
    message.htmlBody = joined(collector.htmls, "\n<hr>\n");
    message.attachments = std::move(collector.files);
    message.problems = std::move(collector.problems);
    if (root.isBeyondLimits) message.problems.emplace_back(problem::tooManyParts);
    if (hasTooManyAddresses(message)) message.problems.emplace_back(problem::tooManyAddresses);

    auto& candidates = collector.inlineCandidates;
    const auto isReferredTo = referredTo(candidates, message.htmlBody ? std::string_view(*message.htmlBody) : "");
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        if (isReferredTo[i] && candidates[i].contentID) {
            auto id = *candidates[i].contentID;
            message.inlineImages.insert_or_assign(std::move(id), std::move(candidates[i]));
        } else {
            message.attachments.push_back(std::move(candidates[i]));
        }
    }
    return message;
}

std::string MailMessage::line(const std::vector<MailAddress>& addresses) {
    std::vector<std::string> pieces;
    pieces.reserve(addresses.size());
    for (const auto& [name, email] : addresses) {
        if (email.empty()) {
            pieces.push_back(name);
        } else if (name.empty() || name == email) {
            pieces.push_back(email);
        } else {
            pieces.push_back(name + " <" + email + '>');
        }
    }
    return joined(pieces, ", ").value_or("");
}

}   // namespace ostrel
