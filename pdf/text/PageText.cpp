#include "pdf/text/PageText.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include <unicode/utf8.h>

namespace ostrel::pdf {
namespace {

bool isWithin(char32_t c, char32_t first, char32_t last) { return c >= first && c <= last; }

bool isEmojiPart(char32_t c) {
    return isWithin(c, 0x1F000, 0x1FBFF) || isWithin(c, 0x2190, 0x2BFF) || isWithin(c, 0xE0020, 0xE007F) || c == 0xA9 ||
           c == 0xAE || c == 0x203C || c == 0x2049 || c == 0x20E3 || c == 0xFE0F || c == 0x3030 || c == 0x303D ||
           c == 0x3297 || c == 0x3299;
}

constexpr char32_t zeroWidthNonJoiner = 0x200C, zeroWidthJoiner = 0x200D;

class Extractor {
public:
    explicit Extractor(std::string_view html) : in_(html) {}

    PageText all() {
        while (at_ < in_.size()) {
            if (in_[at_] == '<')
                skipMarkup();
            else if (in_[at_] == '&')
                take(reference());
            else
                take(character());
        }
        return std::move(found_);
    }

private:
    void take(char32_t c) {
        if (isWithin(c, 0x0590, 0x08FF)) found_.goesRightToLeft = true;
        if (isClustered(c) || isEmojiPart(c) || c == zeroWidthJoiner || c == zeroWidthNonJoiner) {
            const bool isKeycap = c == 0xFE0F || c == 0x20E3;
            if (isKeycap && keycapBase_) found_.text += *keycapBase_;
            found_.text += c;
        } else if (!found_.text.empty() && found_.text.back() != U' ') {
            found_.text += U' ';
        }
        keycapBase_.reset();
        if (isWithin(c, U'0', U'9') || c == U'#' || c == U'*') keycapBase_ = c;
    }

    char32_t character() {
        const auto byte = static_cast<unsigned char>(in_[at_]);
        if (byte < 0x80) return ++at_, byte;
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(in_.data());
        auto place = static_cast<std::int64_t>(at_);
        UChar32 c = 0;
        U8_NEXT_OR_FFFD(bytes, place, static_cast<std::int64_t>(in_.size()), c);
        at_ = static_cast<std::size_t>(place);
        return static_cast<char32_t>(c);
    }

    // "&#2361;", "&#x939;", "&zwj;", "&zwnj;"; other names stand for nothing that matters here.
    char32_t reference() {
        constexpr std::size_t longest = 12;
        const auto text = in_.substr(at_ + 1, longest);
        const auto end = text.find(';');
        ++at_;
        if (end == std::string_view::npos) return U'&';
        const auto name = text.substr(0, end);
        if (name == "zwj" || name == "zwnj") {
            at_ += end + 1;
            return name == "zwj" ? zeroWidthJoiner : zeroWidthNonJoiner;
        }
        if (!name.starts_with('#')) return U'&';
        const bool isHex = name.size() > 1 && (name[1] == 'x' || name[1] == 'X');
        const auto digits = name.substr(isHex ? 2 : 1);
        std::uint32_t value = 0;
        const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), value, isHex ? 16 : 10);
        if (read.ec != std::errc() || read.ptr != digits.data() + digits.size()) return U'&';
        at_ += end + 1;
        return value;
    }

    void skipMarkup() {
        static constexpr std::array<std::string_view, 3> unseen{"style", "script", "title"};
        const auto rest = in_.substr(at_ + 1);
        if (rest.starts_with("!--")) return skipPast("-->");
        const char first = rest.empty() ? ' ' : rest[0];
        if (!(first >= 'a' && first <= 'z') && !(first >= 'A' && first <= 'Z') && first != '/' && first != '!') {
            ++at_;
            return take(U'<');
        }
        const auto start = text::lowerASCII(rest.substr(0, 7));
        skipTag();
        for (const auto name : unseen)
            if (start.starts_with(name)) return skipToEndOf(name);
    }

    void skipPast(std::string_view end) {
        const auto found = in_.find(end, at_);
        at_ = found == std::string_view::npos ? in_.size() : found + end.size();
    }

    void skipTag() {
        while (at_ < in_.size()) {
            at_ = std::min(in_.find_first_of("\"'>", at_), in_.size());
            if (at_ == in_.size() || in_[at_++] == '>') return;
            at_ = std::min(in_.find(in_[at_ - 1], at_), in_.size() - 1) + 1;   // past the quotation
        }
    }

    void skipToEndOf(std::string_view name) {
        while ((at_ = std::min(in_.find("</", at_), in_.size())) < in_.size()) {
            if (text::lowerASCII(in_.substr(at_ + 2, name.size())) == name) return;
            at_ += 2;
        }
    }

    std::string_view in_;
    std::size_t at_ = 0;
    std::optional<char32_t> keycapBase_;
    PageText found_;
};

}   // namespace

bool isClustered(char32_t c) {
    return isWithin(c, 0x0900, 0x109F) || isWithin(c, 0x1780, 0x17FF) || isWithin(c, 0x1A20, 0x1AAF) ||
           isWithin(c, 0x1B00, 0x1C4F) || isWithin(c, 0xA840, 0xA95F) || isWithin(c, 0xA980, 0xABFF);
}

PageText pageText(std::string_view html) {
    const bool hasAny = html.find("&#") != std::string_view::npos || html.find("&zw") != std::string_view::npos ||
                        std::ranges::any_of(html, [](char c) { return static_cast<unsigned char>(c) >= 0xE0; });
    return hasAny ? Extractor(html).all() : PageText();
}

}   // namespace ostrel::pdf
