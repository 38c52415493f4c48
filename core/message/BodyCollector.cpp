#include "core/message/BodyCollector.h"

#include "core/message/Charset.h"
#include "core/message/Problem.h"
#include "platform/MIMETypes.h"
#include "platform/Text.h"

#include <algorithm>

namespace ostrel {
namespace {

// A part that could be read as the message's text rather than offered as a file. HTML bodies may carry a name: some
// clients give them one.
bool isBodyText(const MIMEPart& part, std::string_view type) {
    return !part.isAttachment() && (type.starts_with("text/html") || !part.filename());
}

bool holdsHTML(const MIMEPart& part) {
    const auto type = part.mimeType();
    if (type == "text/html") return isBodyText(part, type);
    return type.starts_with("multipart/") && std::ranges::any_of(part.children, holdsHTML);
}

bool isPlainBodyText(const MIMEPart& part) {
    const auto type = part.mimeType();
    return type == "text/plain" && isBodyText(part, type);
}

// The alternatives come in order of increasing faithfulness (RFC 2046 section 5.1.4), so the last one counts.
template <typename Test>
const MIMEPart* lastChild(const MIMEPart& part, Test test) {
    const auto found = std::find_if(part.children.rbegin(), part.children.rend(), test);
    return found == part.children.rend() ? nullptr : &*found;
}

// The part of a multipart/related that the others belong to (RFC 2387 section 3.2).
const MIMEPart& rootOfRelated(const MIMEPart& part) {
    if (const auto start = part.contentType.param("start")) {
        const auto id = text::trimASCII(*start, "<>");
        const auto found =
            std::ranges::find_if(part.children, [&](const MIMEPart& child) { return child.contentID() == id; });
        if (found != part.children.end()) return *found;
    }
    return part.children.front();
}

// The name of an attached message is its subject.
std::string messageFilename(ByteView message) {
    const auto headers = Headers::parse(message.first(splitHeaderAndBody(message).headerSize));
    const auto subject = headers.decoded("Subject").value_or("");
    const auto trimmed = text::trimBlanks(subject);
    return (trimmed.empty() ? "Message" : std::string(trimmed)) + ".eml";
}

bool isBlank(std::string_view bytes) { return bytes.find_first_not_of("\t\n\r ") == bytes.npos; }

}   // namespace

void BodyCollector::collect(const MIMEPart& part) {
    const auto type = part.mimeType();
    if (!type.starts_with("multipart/")) {
        collectLeaf(part, type);
    } else if (part.children.empty()) {
        collectUndivided(part);
    } else if (type == "multipart/alternative") {
        collectAlternative(part);
    } else if (type == "multipart/related") {
        collectRelated(part);
    } else {
        for (const auto& child : part.children) collect(child);
    }
}

void BodyCollector::collectLeaf(const MIMEPart& part, std::string_view type) {
    const bool isText = type == "text/plain" || type == "text/html" || type == "text/enriched";
    if (isText && isBodyText(part, type)) {
        (type == "text/html" ? htmls : texts).push_back(part.text());
        return;
    }
    const bool mayBeInline = type.starts_with("image/") && !part.isAttachment() && part.contentID();
    auto attached = attachment(part);
    (mayBeInline ? inlineCandidates : files).push_back(std::move(attached));
}

void BodyCollector::collectUndivided(const MIMEPart& part) {
    const auto text = Charset::decode(part.body.view(), part.charset());
    const auto trimmed = text::trimBlanksAndNewlines(text);
    if (!trimmed.empty()) texts.emplace_back(trimmed);
    problems.push_back(problem::multipartWithoutParts);
}

void BodyCollector::collectAlternative(const MIMEPart& part) {
    const auto* html = lastChild(part, holdsHTML);
    const auto* plain = lastChild(part, isPlainBodyText);
    if (html) collect(*html);
    if (plain) texts.push_back(plain->text());
    if (!html && !plain) collect(part.children.back());
}

void BodyCollector::collectRelated(const MIMEPart& part) {
    const auto& root = rootOfRelated(part);
    collect(root);
    for (const auto& child : part.children) {
        if (&child == &root) continue;
        if (child.isMultipart()) {
            collect(child);
        } else {
            auto resource = attachment(child);
            (resource.contentID ? inlineCandidates : files).push_back(std::move(resource));
        }
    }
}

std::string BodyCollector::nameFor(const std::string& type, const std::string& partNumber) {
    auto known = extensions_.find(type);
    if (known == extensions_.end()) {
        known = extensions_.emplace(type, mimeTypes::preferredExtension(type).value_or("bin")).first;
    }
    return "Attachment " + partNumber + '.' + known->second;
}

MailAttachment BodyCollector::attachment(const MIMEPart& part) {
    MailAttachment result;
    result.mimeType = part.mimeType();
    result.contentID = part.contentID();
    result.partNumber = part.number;
    const auto bytes = part.decodedBody();
    if (auto name = part.filename()) {
        result.filename = std::move(*name);
    } else if (result.mimeType == "message/rfc822") {
        result.filename = messageFilename(bytes.view());
    } else {
        result.filename = nameFor(result.mimeType, part.number);
    }
    // Mail empties the body of a part whose bytes it stores elsewhere, and marks it with its own header.
    const bool isElsewhere = isBlank(bytes.chars()) && (partial || part.headers.first("X-Apple-Content-Length"));
    if (!isElsewhere) {
        result.source = bytes;
        return result;
    }
    if (!storedFiles_) storedFiles_.emplace(attachmentsFolder);
    if (auto path = storedFiles_->find(part.number, result.filename)) {
        result.source = std::move(*path);
    } else {
        result.source = MailAttachment::Missing{};
        problems.push_back(problem::attachmentMissing);
    }
    return result;
}

std::optional<std::filesystem::path> BodyCollector::locate(const std::optional<std::filesystem::path>& folder,
                                                           const std::string& partNumber, const std::string& filename) {
    return StoredFiles(folder).find(partNumber, filename);
}

}   // namespace ostrel
