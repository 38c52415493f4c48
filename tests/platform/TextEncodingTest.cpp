#include "platform/Text.h"
#include "platform/TextEncoding.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace std::string_literals;

std::optional<std::string> decoded(const std::string& label, const std::string& bytes) {
    const auto encoding = TextEncoding::named(label);
    return encoding ? encoding->decode(bytesOf(bytes)) : std::nullopt;
}

TEST(TextEncoding, decodesWhatMailCarries) {
    const struct {
        const char* why;
        std::string label, bytes;
        std::optional<std::string> text;
    } rows[] = {
        {"Western", "windows-1252", "\x93\xE9\x94 \x80", "“é” €"},
        {"unassigned in windows-1252", "windows-1252", "\x81", {}},
        {"Latin 1 labels mean windows-1252", "l1", "\x96", "–"},
        {"Turkish likewise", "ISO-8859-9", "\x93\xFD", "“ı"},
        {"Central European", "iso-8859-2", "\xB1\xB6", "ąś"},
        {"Latin 9", "ISO-8859-15", "\xA4", "€"},
        {"Latin 10, by the C library", "iso-8859-16", "\xAA\xFE", "Șț"},
        {"Cyrillic", "KOI8-R", "\xF0\xD2\xC9", "При"},
        {"Ukrainian", "koi8-u", "\xA4\xA6", "єі"},
        {"Greek", "windows-1253", "\xE1\xFE", "αώ"},
        {"unassigned in windows-1253", "windows-1253", "\xD2", {}},
        {"Hebrew, implicit order", "iso-8859-8-i", "\xF9\xEC", "של"},
        {"Arabic", "windows-1256", "\xE3", "م"},
        {"Thai with the quotes of windows-874", "TIS-620", "\x93\xA1\x94", "“ก”"},
        {"Vietnamese", "VISCII", "Vi\xAEt", "Việt"},
        {"Vietnamese with a mark to wait for", "tcvn", "Vi\xD6t", "Việt"},
        {"Mac", "macintosh", "\x8E\xD5", "é’"},
        {"Japanese with a vendor's circled one", "Shift_JIS", "\x87\x40\x93\xFA\xB1", "①日ｱ"},
        {"half a Japanese character", "shift_jis", "\x93", {}},
        {"control characters stay themselves in tables from mainframes", "shift_jis", "a\x1A\x1C\x7F", "a\x1A\x1C\x7F"},
        {"seven-bit Japanese", "ISO-2022-JP", "\x1B$BF|K\\\x1B(B!", "日本!"},
        {"circled one and half-width kana in it", "iso-2022-jp", "\x1B$B-!\x1B(I1\x1B(B", "①ｱ"},
        {"a vendor's name of it", "cp50221", "\x1B$BF|\x1B(B", "日"},
        {"eight-bit bytes in seven-bit Japanese", "iso-2022-jp", "\x93\xFA", {}},
        {"unknown escape sequence", "iso-2022-jp", "\x1B$Zab", {}},
        {"EUC with a three-byte character", "euc-jp", "\xC6\xFC\x8F\xB0\xA1", "日丂"},
        {"Chinese beyond the label: a four-byte character", "gb2312", "\xD6\xD0\x81\x39\xEF\x30", "中㐁"},
        {"the euro sign of code page 936", "gbk", "\xD6\xD0\x80", "中€"},
        {"half a Chinese character", "gb2312", "a\xD6", {}},
        {"seven-bit Chinese", "hz-gb-2312", "a~{VPND~}b", "a中文b"},
        {"Hong Kong characters under Big5", "big5", "\xA4\xA4\x87\x40", "中䏰"},
        {"Korean beyond the label", "ks_c_5601-1987", "\xB0\xA1\x81\x41", "가갂"},
        {"seven-bit Korean", "ISO-2022-KR",
         "\x1B$)C\x0E"
         "0!"
         "\x0F!",
         "가!"},
        {"UTF-8 keeps its mark", "utf-8", "\xEF\xBB\xBF\xC3\xA9", "\uFEFFé"},
        {"surrogate in UTF-8", "utf-8", "\xED\xA0\x80", {}},
        {"UTF-7", "unicode-1-1-utf-7", "Hi +AOk-!", "Hi é!"},
        {"UTF-7 with an eight-bit byte", "utf-7", "a\xE9", {}},
        {"UTF-16 is big-endian (RFC 2781, section 4.3)", "utf-16", "\0a\xD8\x3D\xDE\x00"s, "a😀"},
        {"unless its mark says otherwise", "utf-16",
         "\xFF\xFE"
         "a\0"s,
         "a"},
        {"UTF-16 with half a pair", "utf-16le", "\x3D\xD8"s, {}},
        {"odd number of bytes", "utf-16be", "\0a\0"s, {}},
        {"nothing is a text in every encoding", "utf-16", "", ""},
    };
    for (const auto& row : rows) EXPECT_EQ(decoded(row.label, row.bytes), row.text) << row.why;
}

TEST(TextEncoding, knowsTheNamesThatMailUses) {
    const struct {
        const char* same;
        std::vector<const char*> labels;
    } rows[] = {
        {"utf-8", {"UTF8", "us-ascii", "ANSI_X3.4-1968", "iso646-us", "cp65001", "utf8mb4", "unicode-1-1-utf-8"}},
        {"windows-1252",
         {"ISO_8859-1:1987", "iso88591", "8859_1", "cp1252", "cp819", "ISO-8859-1-Windows-3.1-Latin-1"}},
        {"windows-1251", {"cp1251", "WIN-1251", "windows1251", "x-cp1251"}},
        {"iso-8859-2", {"ISO_8859-2", "iso8859-2", "8859_2", "latin2", "L2", "csISOLatin2"}},
        {"gb18030", {"gb2312", "GB_2312-80", "gbk", "x-gbk", "cp936", "euc-cn", "csGB2312"}},
        {"big5", {"Big5-HKSCS", "cn-big5", "x-x-big5", "cp950"}},
        {"shift_jis", {"x-sjis", "SJIS", "ms_kanji", "cp932", "windows-31j", "csShiftJIS", "MS932"}},
        {"ks_c_5601-1987", {"euc-kr", "cp949", "ksc5601", "korean", "windows-949", "x-windows-949"}},
        {"koi8-r", {"koi", "csKOI8R", "KOI8"}},
        {"macintosh", {"mac", "x-mac-roman", "MacRoman"}},
        {"ibm850", {"cp850", "850"}},
        {"utf-16", {"unicode", "ucs-2", "ISO-10646-UCS-2"}},
    };
    for (const auto& row : rows) {
        const auto expected = TextEncoding::named(row.same);
        ASSERT_TRUE(expected) << row.same;
        for (const char* label : row.labels) EXPECT_EQ(TextEncoding::named(label), expected) << label;
    }
}

TEST(TextEncoding, refusesLabelsThatNameNoEncoding) {
    for (const std::string& label :
         {""s, " "s, "*"s, "default"s, "unknown-8bit"s, "x-user-defined"s, "8bit"s, "binary"s, "-"s, "utf-8, utf-16"s,
          "ISO-2022-JP,version=1"s, "ISO-8859-16//TRANSLIT"s, "wchar_t"s, "../../etc/passwd"s, "é"s, "utf-8\0x"s,
          std::string(61, 'u'), std::string(5000, '-')})
        EXPECT_EQ(TextEncoding::named(label), std::nullopt) << label;
}

TEST(TextEncoding, keepsNoStateFromOneTextToTheNext) {
    EXPECT_EQ(decoded("iso-2022-jp", "\x1B$BF|"), "日") << "ends in the middle of Japanese";
    EXPECT_EQ(decoded("iso-2022-jp", "F|"), "F|");
    EXPECT_EQ(decoded("shift_jis", "a\x93"), std::nullopt);
    EXPECT_EQ(decoded("shift_jis",
                      "\xFA"
                      "a"),
              decoded("shift_jis",
                      "\xFA"
                      "a"));
}

// Whatever the bytes: text or nothing, and text is valid. Long enough to pass the converters' buffers in the middle of
// characters.
TEST(TextEncoding, givesValidTextOrNothing) {
    std::string bytes;
    for (unsigned i = 0, x = 1; i < 20000; ++i) {
        x = x * 1664525u + 1013904223u;
        bytes += static_cast<char>(x >> 24);
    }
    for (const char* label :
         {"utf-8", "windows-1252", "gb18030", "big5", "shift_jis", "euc-jp", "iso-2022-jp", "utf-7", "utf-16", "utf-32",
          "windows-1255", "viscii", "tcvn", "johab", "t.61", "ibm866", "hz", "cesu-8"})
        for (std::size_t length : {std::size_t{1}, std::size_t{7}, bytes.size()}) {
            const auto text = decoded(label, bytes.substr(bytes.size() - length));
            EXPECT_TRUE(!text || text::isValidUTF8(*text)) << label;
        }
    const std::string kana = [] {
        std::string many;
        for (int i = 0; i < 9001; ++i) many += "日";
        return many;
    }();
    std::string sjis, utf16;
    for (int i = 0; i < 9001; ++i) sjis += "\x93\xFA";
    for (int i = 0; i < 4097; ++i) utf16 += "\xD8\x3D\xDE\x00"s;
    EXPECT_EQ(decoded("shift_jis", sjis), kana);
    EXPECT_EQ(decoded("utf-16be", "\0a"s + utf16)->size(), 1 + 4 * 4097u) << "pairs across a buffer's end";
    EXPECT_EQ(decoded("viscii", std::string(9000, '\xAE'))->size(), 27000u);
}

}   // namespace
}   // namespace ostrel
