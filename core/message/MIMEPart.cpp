#include "core/message/MIMEPart.h"

#include "core/message/Charset.h"
#include "core/message/TextSearch.h"
#include "core/message/TransferEncoding.h"
#include "platform/Text.h"

#include <algorithm>

namespace ostrel {
namespace {

struct DelimiterLine {
    std::size_t start;
    std::size_t next;   // just after the line
    bool closes;
};

// Tells at which line starts a delimiter stands; asked from positions that only grow.
class DelimiterTest {
public:
    DelimiterTest(std::string_view body, std::string_view delimiter) : body_(body), delimiter_(delimiter) {
        // Comparing at each line start is linear only while no comparison reaches beyond its line. A boundary with a
        // line feed in it (RFC 2231 can encode one) could make every comparison long.
        spansLines_ = delimiter.find('\n') != delimiter.npos;
        if (spansLines_) positions_ = textSearch::positions(body, delimiter);
    }

    bool matchesAt(std::size_t start) {
        if (!spansLines_) return body_.substr(start).starts_with(delimiter_);
        while (checked_ < positions_.size() && positions_[checked_] < start) ++checked_;
        return checked_ < positions_.size() && positions_[checked_] == start;
    }

private:
    std::string_view body_, delimiter_;
    bool spansLines_;
    std::vector<std::size_t> positions_;
    std::size_t checked_ = 0;
};

// The first lines that begin with the delimiter, up to and including the first that closes. What follows the delimiter
// on its line is not looked at, so that trailing blanks do no harm.
std::vector<DelimiterLine> delimiterLines(std::string_view body, std::string_view delimiter, std::size_t maxLines) {
    std::vector<DelimiterLine> lines;
    DelimiterTest test(body, delimiter);
    for (std::size_t start = 0; start + delimiter.size() <= body.size() && lines.size() < maxLines;) {
        const auto lineFeed = body.find('\n', start);
        const auto next = lineFeed == body.npos ? body.size() : lineFeed + 1;
        if (test.matchesAt(start)) {
            const bool closes = body.substr(start + delimiter.size()).starts_with("--");
            lines.push_back({start, next, closes});
            if (closes) break;
        }
        start = next;
    }
    return lines;
}

// The body without the line break at its end, which belongs to the delimiter that follows (RFC 2046 section 5.1.1).
std::string_view withoutFinalLineBreak(std::string_view body) {
    if (body.ends_with('\n')) body.remove_suffix(1);
    if (body.ends_with('\r')) body.remove_suffix(1);
    return body;
}

std::string childNumber(const std::string& parent, std::size_t index) {
    const auto ordinal = std::to_string(index + 1);
    return parent.empty() ? ordinal : parent + '.' + ordinal;
}

// Builds the tree, and counts what the message has used up of its limits: they hold for all its parts together, or
// each of very many could have as much as a whole message may.
class TreeBuilder {
public:
    MIMEPart build(Headers headers, Bytes body, std::string number, int depth) {
        fields_ -= std::min(fields_, headers.fields.size());
        isBeyondLimits_ |= headers.isCutShort;
        MIMEPart part;
        part.contentType = parameters(headers.first("Content-Type"));
        part.disposition = parameters(headers.first("Content-Disposition"));
        part.headers = std::move(headers);
        part.body = std::move(body);
        part.number = std::move(number);
        part.children = childrenOf(part, text::lower(part.contentType.value), depth);
        if (part.number.empty()) part.number = '1';
        return part;
    }

    bool isBeyondLimits() const { return isBeyondLimits_; }

private:
    HeaderParameters parameters(std::optional<std::string_view> value) {
        auto parsed = HeaderParameters::parse(value, parameters_);
        parameters_ -= parsed.params.size();
        isBeyondLimits_ |= parsed.isCutShort;
        return parsed;
    }

    std::vector<Bytes> piecesOf(const MIMEPart& part, std::string_view boundary) {
        auto pieces = MIMEPart::splitMultipart(part.body, boundary, parts_ + 1);
        if (pieces.size() > parts_) {
            isBeyondLimits_ = true;
            pieces = MIMEPart::splitMultipart(part.body, boundary, parts_);
        }
        parts_ -= pieces.size();
        return pieces;
    }

    std::vector<MIMEPart> childrenOf(const MIMEPart& part, std::string_view type, int depth) {
        const auto boundary = part.contentType.param("boundary");
        if (!type.starts_with("multipart/") || !boundary || boundary->empty() || depth >= MIMEPart::depthLimit)
            return {};
        const bool isDigest = type == "multipart/digest";
        const auto pieces = piecesOf(part, *boundary);
        std::vector<MIMEPart> children;
        children.reserve(pieces.size());
        for (const auto& piece : pieces) {
            const auto split = splitHeaderAndBody(piece.view());
            auto headers = Headers::parse(piece.view().first(split.headerSize), fields_);
            // The members of a digest are messages unless they say otherwise (RFC 2046 section 5.1.5).
            if (isDigest && !headers.first("Content-Type"))
                headers.fields.push_back({"Content-Type", "message/rfc822"});
            children.push_back(build(std::move(headers), piece.slice(split.bodyStart),
                                     childNumber(part.number, children.size()), depth + 1));
        }
        return children;
    }

    std::size_t parts_ = MIMEPart::partLimit;   // still allowed, like the next two
    std::size_t fields_ = Headers::fieldLimit;
    std::size_t parameters_ = HeaderParameters::parameterLimit;
    bool isBeyondLimits_ = false;
};

}   // namespace

MIMEPart MIMEPart::parse(const Bytes& bytes, std::string number, int depth) {
    const auto split = splitHeaderAndBody(bytes.view());
    return build(Headers::parse(bytes.view().first(split.headerSize)), bytes.slice(split.bodyStart), std::move(number),
                 depth);
}

MIMEPart MIMEPart::build(Headers headers, Bytes body, std::string number, int depth) {
    TreeBuilder builder;
    auto root = builder.build(std::move(headers), std::move(body), std::move(number), depth);
    root.isBeyondLimits = builder.isBeyondLimits();
    return root;
}

std::vector<Bytes> MIMEPart::splitMultipart(const Bytes& body, std::string_view boundary, std::size_t maxPieces) {
    const auto in = body.chars();
    // A delimiter more than pieces, to see where the last of them ends.
    const auto lines = delimiterLines(in, "--" + std::string(boundary), maxPieces + 1);
    std::vector<Bytes> pieces;
    for (std::size_t i = 0; i < lines.size() && !lines[i].closes && pieces.size() < maxPieces; ++i) {
        const auto start = lines[i].next;
        const bool isLast = i + 1 == lines.size() || (i + 1 == maxPieces && !lines[i + 1].closes);
        if (isLast) {
            pieces.push_back(body.slice(start));   // cut short, or too many: the rest is all there is
        } else {
            const auto length = lines[i + 1].start - start;
            pieces.push_back(body.slice(start, withoutFinalLineBreak(in.substr(start, length)).size()));
        }
    }
    return pieces;
}

std::string MIMEPart::mimeType() const {
    if (contentType.value.find('/') == std::string::npos) return "text/plain";
    return text::lower(contentType.value);
}

bool MIMEPart::isMultipart() const { return mimeType().starts_with("multipart/"); }

bool MIMEPart::isAttachment() const { return text::lower(disposition.value) == "attachment"; }

std::optional<std::string_view> MIMEPart::charset() const { return contentType.param("charset"); }

std::optional<std::string_view> MIMEPart::transferEncoding() const {
    return headers.first("Content-Transfer-Encoding");
}

std::optional<std::string> MIMEPart::contentID() const {
    const auto id = text::trimASCII(headers.first("Content-ID").value_or(""), "<> \t");
    if (id.empty()) return std::nullopt;
    return std::string(id);
}

std::optional<std::string> MIMEPart::filename() const {
    const auto dispositionName = disposition.param("filename");
    const auto name = dispositionName ? *dispositionName : contentType.param("name").value_or("");
    const auto trimmed = text::trimBlanksAndNewlines(name);
    if (trimmed.empty()) return std::nullopt;
    return std::string(trimmed);
}

Bytes MIMEPart::decodedBody() const { return TransferEncoding::decode(body, transferEncoding()); }

std::string MIMEPart::text() const { return Charset::decode(decodedBody().view(), charset()); }

}   // namespace ostrel
