#include "core/message/TransferEncoding.h"

#include "platform/ASCII.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace ostrel::TransferEncoding {
namespace {

constexpr std::uint8_t skipped = 0xFF;
constexpr std::uint8_t ends = 0xFE;   // larger than every digit's value, like skipped

// A byte's six bits (RFC 4648 sections 4 and 5), or what else the decoder does with it.
constexpr std::array<std::uint8_t, 256> base64Digits = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(skipped);
    for (int i = 0; i < 26; ++i) {
        table['A' + i] = static_cast<std::uint8_t>(i);
        table['a' + i] = static_cast<std::uint8_t>(26 + i);
    }
    for (int i = 0; i < 10; ++i) table['0' + i] = static_cast<std::uint8_t>(52 + i);
    table['+'] = table['-'] = 62;
    table['/'] = table['_'] = 63;
    table['='] = ends;
    return table;
}();

// The same where a byte is the first to the fourth of a group: its bits in their place of the group's 24.
constexpr std::uint32_t noDigit = 0xFF000000;
constexpr auto base64Groups = [] {
    std::array<std::array<std::uint32_t, 256>, 4> tables{};
    for (std::size_t place = 0; place < 4; ++place)
        for (std::size_t byte = 0; byte < 256; ++byte)
            tables[place][byte] =
                base64Digits[byte] > 63 ? noDigit : std::uint32_t{base64Digits[byte]} << (18 - 6 * place);
    return tables;
}();

std::uint8_t digit(char c) { return base64Digits[static_cast<unsigned char>(c)]; }

// What an "=" at the start of rest stands for: how many input bytes it takes, and the byte it gives, if any.
struct Escape {
    std::size_t length = 1;
    std::optional<char> byte;
};

// A line break at offset at: 2 for CR LF, 1 for a lone CR or LF, 0 for none.
std::size_t lineBreakLength(std::string_view in, std::size_t at) {
    if (at >= in.size()) return 0;
    if (in[at] == '\n') return 1;
    if (in[at] != '\r') return 0;
    return at + 1 < in.size() && in[at + 1] == '\n' ? 2 : 1;
}

// RFC 2045 section 6.7, rules 1, 3 and 5. An "=" that is neither an escape nor a soft line break stands for itself.
Escape escapeAt(std::string_view rest) {
    const Escape literal{1, '='};
    if (rest.size() < 2) return literal;
    if (rest[1] == '\n') return {2, std::nullopt};
    if (rest[1] == '\r') return rest.size() > 2 && rest[2] == '\n' ? Escape{3, std::nullopt} : literal;
    if (rest[1] == ' ' || rest[1] == '\t') {
        // Blanks that a gateway added between the "=" and the line break.
        const auto afterBlanks = rest.find_first_not_of(" \t", 1);
        const auto lineBreak = afterBlanks == rest.npos ? 0 : lineBreakLength(rest, afterBlanks);
        return lineBreak ? Escape{afterBlanks + lineBreak, std::nullopt} : literal;
    }
    if (rest.size() < 3) return literal;
    const int high = ascii::hexValue(rest[1]), low = ascii::hexValue(rest[2]);
    if (high < 0 || low < 0) return literal;
    return {3, static_cast<char>(high * 16 + low)};
}

}   // namespace

Bytes decode(const Bytes& body, std::optional<std::string_view> encoding) {
    if (!encoding) return body;
    const auto name = text::lowerASCII(text::trimBlanks(*encoding));
    if (name == "base64") return Bytes(base64(body.view()));
    if (name == "quoted-printable") return Bytes(quotedPrintable(body.view(), Underscore::literal));
    return body;
}

std::string base64(ByteView bytes) {
    const auto in = charsOf(bytes);
    std::string out;
    out.reserve(in.size() / 4 * 3 + 3);
    // By the block: to fill the whole of a photograph with zeros first takes as long again.
    std::array<char, 3 << 12> block;
    std::size_t filled = 0;
    const auto empty = [&] {
        out.append(block.data(), filled);
        filled = 0;
    };
    std::uint32_t accumulator = 0;
    int pendingBits = 0;
    for (std::size_t i = 0; i < in.size();) {
        // Four digits at once, which is nearly all of a well-formed body.
        while (pendingBits == 0 && i + 4 <= in.size()) {
            const auto part = [&](std::size_t place) {
                return base64Groups[place][static_cast<unsigned char>(in[i + place])];
            };
            const std::uint32_t group = part(0) | part(1) | part(2) | part(3);
            if (group & noDigit) break;
            if (filled + 3 > block.size()) empty();
            block[filled] = static_cast<char>(group >> 16);
            block[filled + 1] = static_cast<char>(group >> 8);
            block[filled + 2] = static_cast<char>(group);
            filled += 3;
            i += 4;
        }
        if (i == in.size()) break;
        const std::uint8_t value = digit(in[i++]);
        if (value == ends) break;
        if (value == skipped) continue;
        accumulator = accumulator << 6 | value;
        pendingBits += 6;
        if (pendingBits >= 8) {
            pendingBits -= 8;
            if (filled == block.size()) empty();
            block[filled++] = static_cast<char>(accumulator >> pendingBits);
        }
    }
    empty();
    return out;
}

std::string encodeBase64(ByteView bytes) {
    static constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out((bytes.size() + 2) / 3 * 4, '=');
    char* to = out.data();
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < count ? std::to_integer<std::uint32_t>(bytes[i + k]) : 0U);
        for (std::size_t k = 0; k <= count; ++k) to[k] = alphabet[group >> (18 - 6 * k) & 63];
        to += 4;
    }
    return out;
}

std::string quotedPrintable(ByteView bytes, Underscore underscore) {
    const auto in = charsOf(bytes);
    const auto nextSpecial = [&](std::size_t from) {
        return underscore == Underscore::space ? in.find_first_of("=_", from) : in.find('=', from);
    };
    std::string out;
    out.reserve(in.size());
    for (std::size_t at = 0; at < in.size();) {
        const auto next = std::min(nextSpecial(at), in.size());
        out.append(in, at, next - at);
        at = next;
        if (at == in.size()) break;
        if (in[at] == '_') {
            out += ' ';
            ++at;
            continue;
        }
        const auto escape = escapeAt(in.substr(at));
        if (escape.byte) out += *escape.byte;
        at += escape.length;
    }
    return out;
}

}   // namespace ostrel::TransferEncoding
