#include "fonts/InstalledFonts.h"
#include "tests/render/Printing.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <fontconfig/fontconfig.h>

namespace ostrel {
namespace {

constexpr double tolerance = 0.6;   // the engine lays out in whole pixels

std::string paragraphs(int count) {
    std::string html = "<!DOCTYPE html><style>body{margin:0;padding:0}</style>";
    for (int i = 1; i <= count; ++i) {
        html += "<p>paragraph" + std::to_string(i) +
                " lorem ipsum dolor sit amet consectetur adipiscing elit sed do "
                "eiusmod tempor incididunt ut labore et dolore magna aliqua ut enim ad minim veniam</p>";
    }
    return html;
}

void expectWithinMargins(const std::vector<PrintedSheet>& sheets, const std::string& why) {
    for (const PrintedSheet& sheet : sheets) {
        for (const PrintedWord& word : sheet.words) {
            EXPECT_GE(word.left, 44 - tolerance) << why << ": " << word.text;
            EXPECT_LE(word.right, sheet.width - 44 + tolerance) << why << ": " << word.text;
            EXPECT_GE(word.top, 40 - 2) << why << ": " << word.text;   // a font's box may rise above its line
            EXPECT_LE(word.bottom, sheet.height - 40 + 2) << why << ": " << word.text;
        }
    }
}

TEST_F(Printing, FillsSheetsOfTheChosenPaperWithinItsMargins) {
    struct Row {
        Paper paper;
        double width, height;
    };
    for (const Row& row : {Row{Paper::letter, 612, 792}, Row{Paper::a4, 595, 842}}) {
        WebPDFRenderer onPaper(row.paper);
        const auto sheets = readSheets(print(paragraphs(60), onPaper));
        ASSERT_GT(sheets.size(), 2u);
        for (const PrintedSheet& sheet : sheets) {
            EXPECT_DOUBLE_EQ(sheet.width, row.width);
            EXPECT_DOUBLE_EQ(sheet.height, row.height);
        }
        expectWithinMargins(sheets, "long message");
        EXPECT_NEAR(sheets[0].words[0].left, 44, tolerance);
        for (int i = 1; i <= 60; ++i) EXPECT_TRUE(find(sheets, "paragraph" + std::to_string(i))) << i;
    }
}

// What lies right of the sheet is not in the file at all, so a search for it fails.
TEST_F(Printing, FindsRoomForContentOfAnyWidth) {
    struct Row {
        std::string why, html;
    };
    const std::string edge = "<td>left<td style='text-align:right'>RIGHTEDGE</table>";
    const Row rows[] = {
        {"shrunk by the engine itself", "<table style='width:900px'><tr>" + edge},
        {"just beyond what the engine shrinks", "<table style='width:1040px'><tr>" + edge},
        {"wide", "<table style='width:5000px'><tr>" + edge},
        {"very wide", "<table style='width:20000px'><tr>" + edge},
        {"absurdly wide", "<table style='width:1000000px'><tr>" + edge},
        {"grows with the paper", "<table style='width:300%'><tr>" + edge},
        {"wide on paper only", "<style>@media print{table{width:4000px}}</style><table><tr>" + edge},
        {"from right to left", "<html dir=rtl><table style='width:5000px'><tr>" + edge},
        {"far out", "<p>text</p><div style='position:absolute;left:3000px'>RIGHTEDGE</div>"},
        {"fixed far out", "<p>text</p><div style='position:fixed;left:3000px'>RIGHTEDGE</div>"},
        {"in a box that scrolls", "<div style='overflow-x:auto;width:300px'><table style='width:3000px'><tr>" + edge},
        {"in a column", "<body style='display:flex'><div style='min-width:9000px'>left</div><div>RIGHTEDGE</div>"},
    };
    for (const Row& row : rows) {
        const auto sheets = readSheets(print("<!DOCTYPE html>" + row.html));
        EXPECT_TRUE(find(sheets, "RIGHTEDGE")) << row.why;
        EXPECT_DOUBLE_EQ(sheets.at(0).width, 595) << row.why;
        EXPECT_DOUBLE_EQ(sheets.at(0).height, 842) << row.why;
        expectWithinMargins(sheets, row.why);
    }
}

// Rows that just fit at the end of a sheet must not be here today and there tomorrow.
TEST_F(Printing, BreaksWidePagesInTheSamePlacesEveryTime) {
    for (int height = 20; height < 30; ++height) {
        std::string html = "<style>td{height:" + std::to_string(height) + "px}</style><table style='width:1500px'>";
        for (int row = 1; row <= 120; ++row) html += "<tr><td>row" + std::to_string(row);
        std::vector<std::string> firstWords;
        for (int time = 0; time < 3; ++time) firstWords.push_back(readSheets(print(html)).at(1).words.at(0).text);
        EXPECT_EQ(firstWords, std::vector(3, firstWords[0])) << height;
    }
}

TEST_F(Printing, KeepsTheBottomOfPagesMadeForAScreen) {
    std::string lines;
    for (int i = 0; i < 120; ++i) lines += "<p>line</p>";
    const std::string rows[] = {
        "<style>html,body{height:100%;overflow:hidden}</style><body>",
        "<style>body{position:fixed;top:0;bottom:0;overflow:auto}</style><body>",
        "<div style='height:100px;overflow-y:scroll'>",
    };
    for (const std::string& opening : rows) {
        const auto sheets = readSheets(print("<!DOCTYPE html>" + opening + lines + "<p>LASTLINE"));
        EXPECT_TRUE(find(sheets, "LASTLINE")) << opening;
        EXPECT_GT(sheets.size(), 1u) << opening;
    }
}

TEST_F(Printing, ScalesNothingThatFits) {
    const std::string text = "<p style='font:20px monospace'>measure</p>";
    const auto plain = find(readSheets(print("<!DOCTYPE html><style>body{margin:0}</style>" + text)), "measure");
    ASSERT_TRUE(plain);
    const std::string rows[] = {
        "<style>@page{margin:0}</style>",
        "<style>@page{margin:3in;size:200pt 300pt} @page :first{margin:1in !important}</style>",
        "<style>@media print{@page{margin:3in !important}}</style>",
        "<style>@media print and (min-width:2px){@media (min-width:1px){@page{margin:0 !important}}}</style>",
        "<div style='width:600px'>fits</div>",
    };
    for (const std::string& row : rows) {
        const auto sheets = readSheets(print("<!DOCTYPE html><style>body{margin:0}</style>" + row + text));
        const auto word = find(sheets, "measure");
        ASSERT_TRUE(word) << row;
        EXPECT_NEAR(word->right - word->left, plain->right - plain->left, 0.01) << row;
        EXPECT_NEAR(word->left, 44, tolerance) << row;
        EXPECT_DOUBLE_EQ(sheets[0].width, 595) << row;
    }
}

TEST_F(Printing, TakesOnePageAfterTheOtherAndMixesNothing) {
    const std::string destinations[] = {"about:blank", "about:srcdoc", "data:text/html,elsewhere",
                                        "https://example.com/"};
    for (const std::string& elsewhere : destinations) {
        const auto first = print("<!DOCTYPE html><meta http-equiv=refresh content='0;url=" + elsewhere + "'><p>first");
        const auto second = print("<!DOCTYPE html><p>second");
        EXPECT_EQ(readText(first), "first\n\n\f") << elsewhere;
        EXPECT_EQ(readText(second), "second\n\n\f") << elsewhere;
    }
}

TEST_F(Printing, KeepsWordsSearchable) {
    const auto text =
        readText(print("<!DOCTYPE html><p style='font-family:serif'>office</p><p style='font-family:sans-serif'>"
                       "<b>difficult</b> \u0416\u0443\u043a \u672c\u8a9e"));
    for (const char* word : {"office", "difficult", "\u0416\u0443\u043a", "\u672c\u8a9e"}) {
        EXPECT_NE(text.find(word), std::string::npos) << word << " in " << text;
    }
}

TEST_F(Printing, HoldsWordsThatRunAcrossThePage) {
    const std::string words =
        "one two three four five six seven eight nine ten eleven twelve thirteen fourteen fifteen "
        "sixteen seventeen eighteen nineteen twenty";
    for (const char* const how : {"", " direction=right", " direction=up height=9", " behavior=slide"}) {
        const auto text =
            readText(print("<p>before<marquee" + std::string(how) + ">" + words + "<b>bold</b></marquee>"));
        for (const char* const word : {"before", "one two", "nineteen", "bold"})
            EXPECT_NE(text.find(word), std::string::npos) << word << how << " in " << text;
    }
}

TEST_F(Printing, KeepsTabs) {
    const std::string pages[] = {"<pre>first\tsecond", "<pre>first&#9;second", "<pre>first&#x0009;second",
                                 "<pre>first&Tab;second",
                                 "<style>b:before{white-space:pre;content:'first\\9 second'}</style><b>"};
    for (const auto& page : pages) {
        print("<pre>a page without any");
        const auto word = find(readSheets(print("<!DOCTYPE html>" + page)), "second");
        ASSERT_TRUE(word) << page;
        EXPECT_GT(word->left, 44 + 40) << page;
    }
}

// Drawn one by one, which is what the engine does with the glyphs of most East Asian fonts, these take twice the room.
TEST_F(Printing, TakesLittleRoomForEastAsianText) {
    if (fonts::eastAsianFaces(FcConfigGetCurrent()).empty()) GTEST_SKIP() << "no large East Asian font here";
    const struct {
        const char* language;
        fonts::Writing kind;
        char32_t from;   // the ideographs or syllables that are taken begin here
    } rows[] = {
        {"", fonts::Writing::japanese, 0x4E00},
        {"ja", fonts::Writing::japanese, 0x4E00},
        {"", fonts::Writing::simplifiedChinese, 0x4E00},
        {"zh", fonts::Writing::simplifiedChinese, 0x4E00},
        {"zh-TW", fonts::Writing::traditionalChinese, 0x4E00},
        {"", fonts::Writing::korean, 0xAC00},
        {"ko", fonts::Writing::korean, 0xAC00},
    };
    for (const auto& [language, kind, from] : rows) {
        const auto everyday = fonts::portionsOf({kind}).front();
        std::string letters;
        int taken = 0, place = 0;
        for (auto at = everyday.lower_bound(from); at != everyday.end() && *at < 0xE000 && taken < 150; ++at) {
            if (place++ % 15 != 0) continue;   // from all over the set
            letters += "&#" + std::to_string(static_cast<unsigned long>(*at)) + ";";
            ++taken;
        }
        const auto pdf =
            print(std::string("<!DOCTYPE html><html lang='") + language + "'><p>" + letters + "<p>" + letters);
        EXPECT_EQ(taken, 150) << language;
        EXPECT_LT(files::size(pdf).value_or(0), 40'000U) << language;
    }
}

TEST_F(Printing, TakesPagesAndNamesOfAnyShape) {
    EXPECT_EQ(readSheets(print("")).size(), 1u);
    EXPECT_EQ(readSheets(print("<html></html>")).size(), 1u);
    EXPECT_NE(readText(print(std::string("<p>before\0after", 15))).find("after"), std::string::npos);
    const auto odd = folder.path() / "50% \u00fc #1? \xff.pdf";
    renderer.renderPDF(makePage("<p>text"), odd, {});
    EXPECT_TRUE(files::isRegularFile(odd));
}

}   // namespace
}   // namespace ostrel
