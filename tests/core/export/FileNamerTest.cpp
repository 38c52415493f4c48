#include "core/export/FileNamer.h"
#include "platform/Text.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

std::string repeated(const std::string& text, std::size_t count) {
    std::string out;
    for (; count > 0; --count) out += text;
    return out;
}

TEST(FileNamerTest, SafeNamesStandOnEveryDisk) {
    const struct {
        const char* why;
        std::string text, expected;
    } rows[] = {
        {"separators and reserved characters", "a/b:c\\d*e?f\"g<h>i|j", "a b c d e f g h i j"},
        {"dots around", "  ..Report.  ", "Report"},
        {"hyphens in front", "-- x", "x"},
        {"a dot behind hyphen and blank stays", "- .x", ".x"},
        {"dots and hyphens mixed in front", ".-.-x", "x"},
        {"hyphens behind stay", "x --", "x --"},
        {"text direction", "a\u202Etxt.exe", "a txt.exe"},
        {"invisible characters", "a\u200Bb\uFEFFc\u2066d", "a b c d"},
        {"line breaks and control characters", "a\r\nb\u0085c\u2028d\x01\tf", "a b c d f"},
        {"blanks become one", "a   b", "a b"},
        {"other spaces are kept inside and cut outside", "\u3000a\u00A0\u00A0b\u2003", "a\u00A0\u00A0b"},
        {"nothing left", "/:\u202E..", ""},
        {"as it is", "Größe 12 – 京都 🎉", "Größe 12 – 京都 🎉"},
    };
    for (const auto& row : rows) EXPECT_EQ(FileNamer::safe(row.text), row.expected) << row.why;
}

TEST(FileNamerTest, TruncateCutsBetweenCharacters) {
    const std::string family = "👨‍👩‍👧";
    const struct {
        const char* why;
        std::string text;
        std::size_t bytes;
        std::string expected;
    } rows[] = {
        {"fits: not even trimmed", " .a.", 4, " .a."},
        {"one byte over", "abcd.", 4, "abcd"},
        {"blanks, dots and hyphens at the cut", "ab .- cd", 6, "ab"},
        {"three-byte characters", repeated("京", 100), 100, repeated("京", 33)},
        {"a family is one character", "a" + family + family, 1 + 2 * family.size() - 1, "a" + family},
        {"an accent stays with its letter", "ae\u0301x", 3, "a"},
        {"a first character beyond the budget", family, 3, ""},
        {"one character of a million marks", "a" + repeated("\u0301", 1000000), 100, ""},
    };
    for (const auto& row : rows) EXPECT_EQ(FileNamer::truncate(row.text, row.bytes), row.expected) << row.why;
}

TEST(FileNamerTest, NamesAreNeverGivenTwice) {
    FileNamer names({"index.csv"});
    EXPECT_EQ(names.unique("index", "csv"), "index (2).csv");
    EXPECT_EQ(names.unique("Report", "pdf"), "Report.pdf");
    EXPECT_EQ(names.unique("Report", "pdf"), "Report (2).pdf");
    EXPECT_EQ(names.unique("Report (3)", "pdf"), "Report (3).pdf");
    EXPECT_EQ(names.unique("Report", "pdf"), "Report (4).pdf");
    EXPECT_EQ(names.unique("REPORT", ".P.D.F"), "REPORT (5).PDF");
    EXPECT_EQ(names.unique("ÄPFEL", ""), "ÄPFEL");
    EXPECT_EQ(names.unique("äpfel", ""), "äpfel (2)");
    EXPECT_EQ(names.unique("///", ""), "Untitled");
    // The same characters, divided in another way between name and extension.
    EXPECT_EQ(names.unique("a.b", ""), "a.b");
    EXPECT_EQ(names.unique("a", "b"), "a (2).b");
    EXPECT_EQ(names.unique("a.b", ""), "a.b (2)");
}

TEST(FileNamerTest, WholeFileNamesKeepTheirExtension) {
    const struct {
        const char* why;
        std::string name, first, second;
    } rows[] = {
        {"ordinary", "photo.JPG", "photo.JPG", "photo (2).JPG"},
        {"the last of two", "data.tar.gz", "data.tar.gz", "data.tar (2).gz"},
        {"twelve characters", "a.extension123", "a.extension123", "a (2).extension123"},
        {"thirteen are none", "a.extension1234", "a.extension1234", "a.extension1234 (2)"},
        {"twelve characters of many marks", "a." + repeated("e\u0301\u0302\u0303\u0304\u0305", 12),
         "a." + repeated("e\u0301\u0302\u0303\u0304\u0305", 12),
         "a (2)." + repeated("e\u0301\u0302\u0303\u0304\u0305", 12)},
        {"hidden", ".bashrc", "bashrc", "bashrc (2)"},
        {"none", "README", "README", "README (2)"},
        {"empty", "", "Untitled", "Untitled (2)"},
        {"a dot at the end", "name.", "name", "name (2)"},
        {"a path cannot lead out", "../../etc/passwd.txt", "etc passwd.txt", "etc passwd (2).txt"},
        {"a dot in a folder is no extension", "a.b/c", "a.b c", "a.b c (2)"},
        {"a slash at the end", "a.txt/", "a.txt", "a (2).txt"},
        {"nothing but dots", "..", "Untitled", "Untitled (2)"},
        {"an extension that is not safe", "a.t?t", "a.t t", "a (2).t t"},
    };
    for (const auto& row : rows) {
        FileNamer names;
        EXPECT_EQ(names.uniqueFileName(row.name), row.first) << row.why;
        EXPECT_EQ(names.uniqueFileName(row.name), row.second) << row.why;
    }
}

TEST(FileNamerTest, EveryNameFitsADisk) {
    const std::string pieces[] = {"京都",   "a",      ".", "-", " ", "/", "👨‍👩‍👧‍👦",
                                  "\u0301", "\u202E", "ß"};
    std::mt19937 dice(7);
    for (int i = 0; i < 2000; ++i) {
        std::string name;
        for (auto k = dice() % 200; k > 0; --k) name += pieces[dice() % std::size(pieces)];
        FileNamer names;
        for (int again = 0; again < 3; ++again) {
            const std::string unique = names.uniqueFileName(name);
            EXPECT_LE(unique.size(), FileNamer::maxBytes) << name;
            EXPECT_TRUE(text::isValidUTF8(unique)) << name;
            EXPECT_FALSE(unique.empty() || unique == "." || unique == "..") << name;
            EXPECT_EQ(unique.find('/'), std::string::npos) << name;
        }
    }
}

TEST(FileNamerTest, MessageNamesSortByDate) {
    const Instant date = Instant(std::chrono::seconds(1709629662));   // 2024-03-05 09:07:42 UTC
    const Calendar utc = Calendar::utc();
    EXPECT_EQ(FileNamer::messageBase(date, "Kim Sender", "Quarterly figures", "none", utc),
              "2024-03-05 0907 Kim Sender - Quarterly figures");
    EXPECT_EQ(FileNamer::messageBase(date, "", "", "(No subject)", utc), "2024-03-05 0907 - (No subject)");
    EXPECT_EQ(FileNamer::messageBase(date, "a", "b", "", Calendar::inZone("Asia/Tokyo")), "2024-03-05 1807 a - b");
    const std::string longest = FileNamer::messageBase(date, std::string(300, 'f'), std::string(300, 's'), "", utc);
    EXPECT_EQ(longest, "2024-03-05 0907 " + std::string(40, 'f') + " - " + std::string(100, 's'));
}

TEST(FileNamerTest, AThousandsfoldNameStaysQuick) {
    FileNamer names;
    for (int i = 0; i < 200000; ++i) names.unique("Re: Hello", "");
    EXPECT_EQ(names.unique("Re: Hello", ""), "Re Hello (200001)");
}

}   // namespace
}   // namespace ostrel
