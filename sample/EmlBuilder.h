#pragma once

#include "platform/Time.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ostrel {

// Writes messages (RFC 5322, MIME) for the sample store, the tests and the benchmarks. The same calls give the same
// bytes. See SampleMail for the store around them.
class EmlBuilder {
public:
    struct Part {
        std::string headers;   // whole lines, CR LF
        std::string body;      // encoded as the headers say
    };

    // A field in the order of the calls; a value that is not ASCII becomes encoded words in UTF-8.
    EmlBuilder& header(std::string_view name, std::string_view value);
    // A field exactly as given, bytes and all.
    EmlBuilder& rawHeader(std::string_view name, std::string_view bytes);
    EmlBuilder& date(Instant when, int offsetMinutes = 0);

    // The bodies: text and HTML together become multipart/alternative; the text is converted from UTF-8 to the charset.
    EmlBuilder& text(std::string_view utf8, std::string_view charset = "utf-8");
    EmlBuilder& html(std::string_view utf8, std::string_view charset = "utf-8");
    // An image the HTML refers to as cid:<contentID>: the message becomes multipart/related around its HTML.
    EmlBuilder& inlineImage(std::string_view contentID, std::string_view mimeType, std::string_view bytes,
                            std::string_view filename = {});
    // Makes the message multipart/mixed.
    EmlBuilder& attachment(std::string_view filename, std::string_view mimeType, std::string_view bytes);
    // One more part of the multipart/mixed, its headers (whole lines, CR LF) and body as given.
    EmlBuilder& part(std::string_view headers, std::string_view body);
    // An attachment whose bytes Mail keeps outside the message file: empty body, X-Apple-Content-Length.
    EmlBuilder& storedAttachment(std::string_view filename, std::string_view mimeType, std::size_t size);

    // The message, lines ended by CR LF.
    std::string message() const;
    // The container file around it: count line, message, property list.
    std::string emlx(Instant dateReceived, std::int64_t flags = 1) const;
    static std::string emlx(std::string_view message, Instant dateReceived, std::int64_t flags = 1);

private:
    std::string headers_;   // whole lines, CR LF
    std::optional<Part> text_, html_;
    std::vector<Part> inlineImages_, attachments_;
};

}   // namespace ostrel
