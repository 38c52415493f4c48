#include "core/message/TransferEncoding.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

struct Row {
    const char* why;
    std::string_view input;
    std::string_view expected;
};

// The textbook encoder, to check the decoder against.
std::string encodeBase64(std::string_view bytes) {
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        unsigned group = 0;
        for (std::size_t k = i; k < i + 3; ++k) {
            group = group << 8 | (k < bytes.size() ? static_cast<unsigned char>(bytes[k]) : 0u);
        }
        for (std::size_t k = 0; k < 4; ++k) out += i + k > bytes.size() ? '=' : alphabet[group >> (18 - 6 * k) & 63];
    }
    return out;
}

std::string folded(std::string_view s, std::size_t width) {
    std::string out;
    for (std::size_t i = 0; i < s.size(); i += width) out.append(s.substr(i, width)).append("\r\n");
    return out;
}

TEST(TransferEncodingTest, Base64IsLenient) {
    const Row rows[] = {
        {"nothing", "", ""},
        {"padded", "YQ==", "a"},
        {"unpadded", "YWI", "ab"},
        {"one digit gives nothing", "Y", ""},
        {"one digit too many", "YWJjZ", "abc"},
        {"padding ends it", "YQ==YWJj", "a"},
        {"padding at once", "=YWJj", ""},
        {"line breaks, blanks, rubbish skipped", "Y\r\nW \t*J\x80\xFF!j", "abc"},
        {"URL-safe digits, mixed", "-_+/", "\xFB\xFF\xBF"},
        {"groups need not begin lines", "Y\nWJjZ\nGVm", "abcdef"},
    };
    for (const auto& row : rows) EXPECT_EQ(TransferEncoding::base64(bytesOf(row.input)), row.expected) << row.why;
}

TEST(TransferEncodingTest, Base64UndoesEveryEncoding) {
    std::string bytes;
    for (int i = 0; i < 300; ++i) {
        const auto encoded = encodeBase64(bytes);
        for (const std::size_t width : {76u, 77u, 3u}) {
            ASSERT_EQ(TransferEncoding::base64(bytesOf(folded(encoded, width))), bytes)
                << i << " bytes, width " << width;
        }
        bytes += static_cast<char>(i * 37 + 11);
    }
}

TEST(TransferEncodingTest, QuotedPrintableKeepsWhatItDoesNotUnderstand) {
    const Row rows[] = {
        {"escapes of either case", "=C3=a9=3D", "\xC3\xA9="},
        {"soft breaks", "a=\nb=\r\nc", "abc"},
        {"soft break with blanks before it", "a= \t\r\nb= \nc", "abc"},
        {"soft break with blanks before a lone CR", "a= \rb", "ab"},
        {"a lone CR is no soft break", "a=\rb", "a=\rb"},
        {"blanks that end nothing stay", "a=  b", "a=  b"},
        {"blanks at the end of the input", "a= \t", "a= \t"},
        {"hard breaks stay as they are", "a\r\nb\n", "a\r\nb\n"},
        {"underscore is itself", "a_b", "a_b"},
        {"equals sign at the end", "a=", "a="},
        {"cut escape", "a=4", "a=4"},
        {"one hexadecimal digit", "=4G=G4", "=4G=G4"},
        {"an escape after a literal equals sign", "==41", "=A"},
        {"soft break at the end", "a=\r\n", "a"},
        {"cut soft break", "a=\r", "a=\r"},
        {"bytes above 127", "\xE9=E9", "\xE9\xE9"},
    };
    using enum TransferEncoding::Underscore;
    for (const auto& row : rows) {
        EXPECT_EQ(TransferEncoding::quotedPrintable(bytesOf(row.input), literal), row.expected) << row.why;
    }
    EXPECT_EQ(TransferEncoding::quotedPrintable(bytesOf("a_b=5F_"), space), "a b_ ");
}

TEST(TransferEncodingTest, TheNameDecides) {
    const Bytes body(std::string("YQ=3D"));
    const struct {
        const char* why;
        std::optional<std::string_view> encoding;
        std::string_view expected;
    } rows[] = {
        {"absent", std::nullopt, "YQ=3D"},
        {"capitals and blanks", "\t Base64\xC2\xA0", "a"},
        {"quoted-printable", "QUOTED-PRINTABLE", "YQ="},
        {"unknown", "x-uuencode", "YQ=3D"},
        {"line breaks are no blanks", "base64\n", "YQ=3D"},
        {"a comment makes it unknown", "base64 (x)", "YQ=3D"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(TransferEncoding::decode(body, row.encoding).chars(), row.expected) << row.why;
    EXPECT_EQ(TransferEncoding::decode(body, "8bit").view().data(), body.view().data()) << "copied for nothing";
}

}   // namespace
}   // namespace ostrel
