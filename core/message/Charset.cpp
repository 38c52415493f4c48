#include "core/message/Charset.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>

namespace ostrel::Charset {
namespace {

// ASCII is read as UTF-8 and ISO-8859-1 as Windows-1252: senders that use those names send the larger sets.
constexpr std::array<std::string_view, 6> utf8Labels = {
    "utf-8", "utf8", "us-ascii", "ascii", "unicode-1-1-utf-8", "ansi_x3.4-1968",
};
constexpr std::array<std::string_view, 6> windows1252Labels = {
    "iso-8859-1", "windows-1252", "latin1", "iso8859-1", "iso_8859-1", "cp1252",
};

// Blanks, line breaks and quotes around a label come from broken parameter values.
std::string_view trimLabel(std::string_view label) {
    const auto isTrimmed = [](char32_t c) { return c == '"' || c == '\'' || text::isBlankOrNewline(c); };
    while (!label.empty()) {
        const auto first = text::decodeAt(label, 0);
        if (!isTrimmed(first.codePoint)) break;
        label.remove_prefix(first.length);
    }
    while (!label.empty()) {
        const auto last = text::decodeBefore(label, label.size());
        if (!isTrimmed(last.codePoint)) break;
        label.remove_suffix(last.length);
    }
    return label;
}

}   // namespace

std::optional<TextEncoding> encoding(std::optional<std::string_view> label) {
    if (!label) return std::nullopt;
    auto name = trimLabel(*label);
    name = name.substr(0, name.find('*'));   // the language of RFC 2231 section 5
    if (name.empty()) return std::nullopt;
    const auto known = text::lowerASCII(name);
    if (std::ranges::find(utf8Labels, known) != utf8Labels.end()) return TextEncoding::utf8();
    if (std::ranges::find(windows1252Labels, known) != windows1252Labels.end()) return TextEncoding::windows1252();
    return TextEncoding::named(name);
}

std::string decode(ByteView bytes, std::optional<std::string_view> label) {
    const auto labelled = encoding(label);
    if (labelled) {
        if (auto text = labelled->decode(bytes)) return std::move(*text);
    }
    for (const auto& fallback : {TextEncoding::utf8(), TextEncoding::windows1252(), TextEncoding::latin1()}) {
        if (labelled == fallback) continue;
        if (auto text = fallback.decode(bytes)) return std::move(*text);
    }
    return text::toValidUTF8(charsOf(bytes));
}

}   // namespace ostrel::Charset
