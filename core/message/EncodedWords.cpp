#include "core/message/EncodedWords.h"

#include "core/message/Charset.h"
#include "core/message/TransferEncoding.h"
#include "platform/ASCII.h"
#include "platform/Text.h"

#include <algorithm>
#include <optional>

namespace ostrel::EncodedWords {
namespace {

// Longer labels are not charset names; the bound also ends the search for the "?" in text that only looks like a word.
constexpr std::size_t labelLimit = 40;

// Of the charset label that the text begins with; nullopt if no "?" ends it in time.
std::optional<std::size_t> labelSize(std::string_view text) {
    std::size_t length = 0;
    for (std::size_t at = 0; at < text.size(); at += text::decodeAt(text, at).length) {
        if (text[at] == '?') return at;
        if (++length > labelLimit) return std::nullopt;
    }
    return std::nullopt;
}

struct Word {
    std::string text;
    std::size_t end;
};

class Decoder {
public:
    explicit Decoder(std::string_view text) : text_(text) {}

    std::string decode() {
        std::string out;
        out.reserve(text_.size());
        std::size_t copied = 0;   // everything before is in out, or was dropped
        bool isAfterWord = false;
        for (auto at = text_.find("=?"); at != text_.npos;) {
            const auto word = wordAt(at);
            if (!word) {
                at = text_.find("=?", at + 1);
                continue;
            }
            // White space between two words belongs to their folding (RFC 2047 section 6.2).
            const auto between = text_.substr(copied, at - copied);
            if (!isAfterWord || between.find_first_not_of(" \t") != between.npos) out += between;
            out += word->text;
            copied = word->end;
            isAfterWord = true;
            at = text_.find("=?", copied);
        }
        return out += text_.substr(copied);
    }

private:
    // encoded-word := opening encoded-text "?="    (RFC 2047 section 2), starting at position at.
    std::optional<Word> wordAt(std::size_t at) {
        const auto opening = openingOf(text_.substr(at));
        if (!opening) return std::nullopt;
        const auto payloadStart = at + opening->size;
        const auto payloadEnd = closeFrom(payloadStart);
        if (payloadEnd == text_.npos || nonASCIIFrom(payloadStart) < payloadEnd) return std::nullopt;
        const auto payload = bytesOf(text_.substr(payloadStart, payloadEnd - payloadStart));
        const auto bytes = opening->isBase64
                               ? TransferEncoding::base64(payload)
                               : TransferEncoding::quotedPrintable(payload, TransferEncoding::Underscore::space);
        return Word{Charset::decode(bytesOf(bytes), opening->charset), payloadEnd + 2};
    }

    // Both are asked from positions that only grow. The answer is kept while it still lies ahead, so that megabytes of
    // "=?a?q?" without an end are searched once and not once per word.
    std::size_t closeFrom(std::size_t position) {
        if (!close_ || *close_ < position) close_ = text_.find("?=", position);
        return *close_;
    }
    std::size_t nonASCIIFrom(std::size_t position) {
        if (!nonASCII_ || *nonASCII_ < position) {
            const auto isNonASCII = [](char c) { return static_cast<unsigned char>(c) > 127; };
            const auto rest = text_.substr(std::min(position, text_.size()));
            const auto found = std::ranges::find_if(rest, isNonASCII);
            nonASCII_ = found == rest.end() ? text_.npos : static_cast<std::size_t>(&*found - text_.data());
        }
        return *nonASCII_;
    }

    std::string_view text_;
    std::optional<std::size_t> close_;
    std::optional<std::size_t> nonASCII_;
};

}   // namespace

std::optional<Opening> openingOf(std::string_view text) {
    constexpr std::string_view begin = "=?";
    if (!text.starts_with(begin)) return std::nullopt;
    const auto label = text.substr(begin.size());
    const auto size = labelSize(label);
    if (!size || *size + 2 >= label.size() || label[*size + 2] != '?') return std::nullopt;
    const char encoding = ascii::lower(label[*size + 1]);
    if (encoding != 'b' && encoding != 'q') return std::nullopt;
    return Opening{label.substr(0, *size), encoding == 'b', begin.size() + *size + 3};
}

std::string decode(std::string_view text) {
    if (text.find("=?") == text.npos) return std::string(text);
    return Decoder(text).decode();
}

}   // namespace ostrel::EncodedWords
