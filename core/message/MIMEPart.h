#pragma once

#include "core/message/HeaderParameters.h"
#include "core/message/Headers.h"
#include "platform/Bytes.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel {

// One node of a message's MIME structure (RFC 2045, RFC 2046). A plain value; bodies are windows on the message's
// bytes.
struct MIMEPart {
    Headers headers;
    Bytes body;   // after the header's empty line, still transfer-encoded; a multipart's whole body
    std::vector<MIMEPart> children;
    std::string
        number;   // "1" for the root and for its first child, then "1.1", "1.2", "2" ... as Mail numbers its folders
    HeaderParameters contentType;
    HeaderParameters disposition;
    bool isBeyondLimits = false;   // of the root: the message has more parts than are kept apart

    // A part takes hundreds of bytes of memory where four in the file are enough for one. The last one that a message
    // may have holds what is beyond, undivided. The largest digests and forwarded folders have some thousands.
    static constexpr std::size_t partLimit = 100'000;
    // A part this deep or deeper gets no children: deeper nesting is an attack, and recursion must end.
    static constexpr int depthLimit = 24;

    // Parses a message or part, recursively. Never fails.
    static MIMEPart parse(const Bytes& bytes, std::string number = {}, int depth = 0);
    // The same from parsed header fields.
    static MIMEPart build(Headers headers, Bytes body, std::string number, int depth);
    // The pieces between the delimiter lines (RFC 2046 section 5.1.1), without preamble and epilogue; empty pieces are
    // kept. If there are more than maxPieces, the last piece is the whole rest.
    static std::vector<Bytes> splitMultipart(const Bytes& body, std::string_view boundary,
                                             std::size_t maxPieces = partLimit);

    std::string mimeType() const;   // lower case; "text/plain" when none or not type/subtype
    bool isMultipart() const;
    bool isAttachment() const;   // the disposition says "attachment"
    std::optional<std::string_view> charset() const;
    std::optional<std::string_view> transferEncoding() const;
    std::optional<std::string> contentID() const;   // without angle brackets
    std::optional<std::string> filename() const;   // disposition's filename, else the type's name; trimmed, never empty
    Bytes decodedBody() const;                     // transfer encoding removed
    std::string text() const;                      // and charset decoded

    bool operator==(const MIMEPart&) const = default;
};

}   // namespace ostrel
