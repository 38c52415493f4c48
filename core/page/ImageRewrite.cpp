#include "core/page/ImageRewrite.h"

#include "core/message/TransferEncoding.h"
#include "core/page/HTMLMatchers.h"
#include "core/page/MessageHTML.h"
#include "platform/ASCII.h"
#include "platform/Files.h"
#include "platform/PercentEncoding.h"
#include "platform/Text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

#include <unicode/uchar.h>

namespace ostrel {

namespace {

using html::Match;

constexpr std::int64_t widestBoxPixels = 640, highestBoxPixels = 400;
constexpr std::int64_t smallestShownPixels = 3;   // one or two pixels wide or high: made to track, not to be seen

// ---- Patterns within one tag ----

// The assignments to one attribute of a tag: \sNAME\s*=\s*
std::optional<html::Assignment> nextNamed(std::string_view tag, std::size_t from, std::string_view name) {
    auto found = html::nextAssignment(tag, from);
    while (found && !html::isNamed(tag, *found, name)) found = html::nextAssignment(tag, found->sign + 1);
    return found;
}

std::size_t skipQuote(std::string_view tag, std::size_t at) { return html::quoteAt(tag, at) == '\0' ? at : at + 1; }

// \ssrc\s*=\s*["']?([^"'\s>]*): group 1 of the first match, empty when there is none. It holds no white space.
std::string_view sourceOf(std::string_view tag) {
    const auto found = nextNamed(tag, 0, "src");
    if (!found) return {};
    const std::size_t begin = skipQuote(tag, found->value);
    return tag.substr(begin, html::skipPlainValue(tag, begin) - begin);
}

// \ssrc\s*=\s*(["']?)[^"'\s>]*\1. A quote that is not closed right behind the value is not taken at all: the match then
// ends before it, and the value stays in the tag.
std::optional<Match> nextSourceAttribute(std::string_view tag, std::size_t from) {
    const auto found = nextNamed(tag, from, "src");
    if (!found) return std::nullopt;
    const char quote = html::quoteAt(tag, found->value);
    const std::size_t end = html::skipPlainValue(tag, skipQuote(tag, found->value));
    if (quote == '\0') return Match{found->space, end};
    return Match{found->space, html::quoteAt(tag, end) == quote ? end + 1 : found->value};
}

std::size_t countSourceAttributes(std::string_view tag) {
    std::size_t count = 0;
    for (auto found = nextSourceAttribute(tag, 0); found; found = nextSourceAttribute(tag, found->end)) ++count;
    return count;
}

// \d at `at` that is no ASCII digit
bool isForeignDigit(std::string_view tag, std::size_t at) {
    return at < tag.size() && static_cast<unsigned char>(tag[at]) >= 0x80 &&
           u_charType(static_cast<UChar32>(text::decodeAt(tag, at).codePoint)) == U_DECIMAL_DIGIT_NUMBER;
}

// \sNAME\s*=\s*["']?(\d+): the number of the first match; nullopt if there is none or it exceeds 64 bits.
std::optional<std::int64_t> pixels(std::string_view tag, std::string_view name) {
    for (auto found = nextNamed(tag, 0, name); found; found = nextNamed(tag, found->sign + 1, name)) {
        const std::size_t begin = skipQuote(tag, found->value);
        std::size_t end = begin;
        while (end < tag.size() && ascii::isDigit(tag[end])) ++end;
        if (isForeignDigit(tag, end)) return std::nullopt;
        if (end == begin) continue;
        std::int64_t value = 0;
        const auto result = std::from_chars(tag.data() + begin, tag.data() + end, value);
        return result.ec == std::errc() ? std::optional(value) : std::nullopt;
    }
    return std::nullopt;
}

// \salt\s*=\s*"([^"]*)": group 1 of the first match. A quote that is never closed is the tag's last: no match follows.
std::string_view alternativeText(std::string_view tag) {
    for (auto found = nextNamed(tag, 0, "alt"); found; found = nextNamed(tag, found->sign + 1, "alt")) {
        if (html::quoteAt(tag, found->value) != '"') continue;
        const std::size_t begin = found->value + 1;
        const std::size_t end = tag.find('"', begin);
        return end == std::string_view::npos ? std::string_view() : tag.substr(begin, end - begin);
    }
    return {};
}

// ---- URIs ----

// Senders also write identifiers with a bare "%", so what does not decode is meant as it stands.
std::string identifierIn(std::string_view encoded) {
    auto decoded = percentEncoding::decode(encoded);
    const bool isText = decoded.isWellFormed && text::isValidUTF8(decoded.bytes);
    return isText ? std::move(decoded.bytes) : std::string(encoded);
}

// Nothing that the sanitizer looks for later ends within an address of such a type.
bool isPlainType(std::string_view mediaType) {
    return std::ranges::all_of(mediaType, [](char c) {
        return ascii::isLetter(c) || ascii::isDigit(c) || c == '/' || c == '-' || c == '+' || c == '.';
    });
}

std::uint64_t base64Length(std::uint64_t size) { return size / 3 * 4 + (size % 3 == 0 ? 0 : 4); }

}   // namespace

void ImageRewriter::rewrite(std::string& out, std::string_view tag) {
    const std::string_view source = sourceOf(tag);
    if (html::wordAt(source, 0, "data:image/") != std::string_view::npos &&
        tag.size() <= embeddedBytesLimit - embeddedBytes_) {
        embeddedBytes_ += tag.size();
        out.append(tag);
        return;
    }
    if (html::wordAt(source, 0, "cid:") != std::string_view::npos && embed(out, tag, source.substr(4))) return;
    if (!source.empty()) block(out, tag);
}

// False when the message does not carry the image, or no longer has room for it.
bool ImageRewriter::embed(std::string& out, std::string_view tag, std::string_view contentID) {
    const auto* image = find(identifierIn(contentID));
    if (image == nullptr) return false;
    auto& [uri, isOpen, wholeSize, picture] = read(*image);
    if (!uri) return false;
    const std::size_t count = countSourceAttributes(tag);
    if (wholeSize > (embeddedBytesLimit - embeddedBytes_) / count) return false;
    embeddedBytes_ += wholeSize * count;
    std::size_t done = 0;
    for (auto found = nextSourceAttribute(tag, 0); found; found = nextSourceAttribute(tag, done)) {
        out.append(tag, done, found->begin - done).append(" src=\"");
        picture.addresses.push_back({out.size(), uri->size(), isOpen});
        out.append(*uri).append("\"");
        done = found->end;
    }
    out.append(tag, done);
    return true;
}

const MailAttachment* ImageRewriter::find(std::string_view contentID) {
    if (const auto exact = inlineImages_.find(std::string(contentID)); exact != inlineImages_.end()) {
        return &exact->second;
    }
    if (!byFoldedID_) {
        byFoldedID_.emplace();
        for (const auto& [id, image] : inlineImages_) byFoldedID_->emplace(text::foldCase(id), &image);
    }
    const auto folded = byFoldedID_->find(text::foldCase(contentID));
    return folded == byFoldedID_->end() ? nullptr : folded->second;
}

// Reads each image once, however often the page shows it. A photograph would be most of the page's text.
ImageRewriter::Own& ImageRewriter::read(const MailAttachment& image) {
    const auto [entry, isNew] = own_.try_emplace(&image);
    auto& [uri, isOpen, wholeSize, picture] = entry->second;
    const auto size = isNew ? image.size() : std::nullopt;
    if (!size || base64Length(*size) > embeddedBytesLimit - embeddedBytes_) return entry->second;
    try {
        picture.mediaType = image.mimeType;
        picture.name = image.filename;
        picture.bytes = image.data();
        // The type is the sender's text: it must not end the attribute.
        uri = "data:" + MessageHTML::escape(image.mimeType) + ";base64,";
        wholeSize = uri->size() + base64Length(picture.bytes.size());
        isOpen = isPlainType(image.mimeType);
        if (!isOpen) *uri += TransferEncoding::encodeBase64(picture.bytes.view());
    } catch (const FileError&) {
        // Gone or not readable: like an image that was never there.
    }
    return entry->second;
}

std::vector<PagePicture> ImageRewriter::takeEmbedded() {
    std::vector<PagePicture> embedded;
    for (auto& [image, own] : own_)
        if (!own.picture.addresses.empty()) embedded.push_back(std::move(own.picture));
    own_.clear();
    return embedded;
}

void ImageRewriter::block(std::string& out, std::string_view tag) {
    ++blocked_;
    const auto width = pixels(tag, "width"), height = pixels(tag, "height");
    if (width && height && std::min(*width, *height) < smallestShownPixels) return;
    out.append("<span class=\"blocked-image\" style=\"");
    if (width) out.append("width:" + std::to_string(std::min(*width, widestBoxPixels)) + "px");
    if (width && height) out.append(";");
    if (height) out.append("height:" + std::to_string(std::min(*height, highestBoxPixels)) + "px");
    out.append("\">").append(alternativeText(tag)).append("</span>");
}

}   // namespace ostrel
