#include "pdf/Finisher.h"
#include "tests/pdf/SamplePDF.h"

#include <string>

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

using test::OpenedPDF, test::ref, test::SamplePDF;

// As the engine writes it: one code in use besides the first, which stands for what the typeface lacks.
struct Drawn {
    std::string text, face = "Song", left = "0", slant = "0", name = "g21",
                      outline = "0 0 m 9 -7 l 5 -3 l 6 -4 l 7 -5 l 0 0 l h f";
};

std::string drawnFont(SamplePDF& pdf, const Drawn& font) {
    auto meaning = pdf.stream("<< >>", "1 beginbfchar\n<01> <" + font.text + ">\nendbfchar\n");
    auto glyph = pdf.stream("<< >>", "1000 0 0 -7 9 0 d1 " + font.outline);
    return ref(
        pdf.object("<< /Type /Font /Subtype /Type3 /FontBBox [" + font.left + " 120 1000 -880] /FontMatrix [.001 0 " +
                   font.slant + " -.001 0 0] /FontDescriptor << /FontName /" + font.face +
                   " >> /FirstChar 0 /LastChar 1 /Widths [1000 1000] /CharProcs << /" + font.name + " " + ref(glyph) +
                   " >> /Encoding << /Differences [0 /g0 /" + font.name + "] >> /ToUnicode " + ref(meaning) + " >>"));
}

// "!" and "\"" are the first codes of the joined font.
TEST(DrawnFonts, ContentShowsTheJoinedFont) {
    const struct {
        const char *why, *content, *expected;
    } rows[] = {
        {"one after the other", "BT /A 9 Tf <01> Tj /B 9 Tf (\\1) Tj ET", "BT /A 9 Tf\n(!) Tj (\") Tj ET"},
        {"with moves between", "/B 9 Tf [<01> -20 (\1)] TJ /A 9 Tf <01> '", "/A 9 Tf\n[(!) -20 (!)] TJ (\") '"},
        {"in other sizes", "/A 9 Tf <01> Tj /B 8 Tf <01> Tj", "/A 9 Tf\n(!) Tj /A 8 Tf\n(\") Tj"},
        {"and back to a font that stays", "/A 9 Tf <01> Tj /N 9 Tf <01> Tj /B 9 Tf <01> Tj",
         "/A 9 Tf\n(!) Tj /N 9 Tf <01> Tj /A 9 Tf\n(\") Tj"},
        {"saved and restored", "/A 9 Tf q /B 9 Tf <01> Tj Q <01> Tj q <01> Tj Q",
         " q /A 9 Tf\n(!) Tj Q /A 9 Tf\n(\") Tj q (\") Tj Q"},
        {"set and not used", "/A 9 Tf <01> Tj /B 9 Tf <01> Tj /A 7 Tf", "/A 9 Tf\n(!) Tj (\") Tj "},
        {"extra space by code", "1 Tw /A 9 Tf <01> Tj /B 9 Tf <01> Tj", {}},
        {"a code without a glyph", "/A 9 Tf <02> Tj", {}},
        {"a picture within the content", "/A 9 Tf <01> Tj BI /W 1 ID x EI /B 9 Tf <01> Tj", {}},
    };
    for (const auto& row : rows) {
        SamplePDF pdf;
        pdf.page(row.content, "<< /Font << /A " + drawnFont(pdf, {"4E00"}) + " /B " + drawnFont(pdf, {"4E01"}) +
                                  " /N << /Type /Font /Subtype /Type1 /BaseFont /Courier >> >> >>");
        FinishOptions options;
        OpenedPDF finished(Finisher().finish(Printed::open(Bytes(pdf.bytes())), options).pdf);
        const auto content = finished.content(0);
        if (!row.expected) {
            EXPECT_NE(content.find(row.content), std::string::npos) << row.why << ": " << content;
            continue;
        }
        auto squeezed = content;
        for (std::size_t at = 0; (at = squeezed.find("  ", at)) != std::string::npos;) squeezed.erase(at, 1);
        EXPECT_NE(squeezed.find(row.expected), std::string::npos) << row.why << ": " << content;
        auto font = finished.resource(0, "/Font", "/A");
        EXPECT_TRUE(finished.resource(0, "/Font", "/B").isNull()) << row.why;
        EXPECT_EQ(font.getKey("/FontBBox").unparse(), "[ 0 -120 1000 880 ]") << row.why;
        EXPECT_EQ(font.getKey("/FontMatrix").getArrayItem(3).unparse(), ".001") << row.why;
        EXPECT_EQ(test::plainData(font.getKey("/CharProcs").getKey("/c33")),
                  "1000 0 0 7 9 0 d1 0 0 m 9 7 l 5 3 l 6 4 l 7 5 l f")
            << row.why;
    }
}

TEST(DrawnFonts, OnlyFontsThatViewersTreatAlikeAreJoined) {
    const struct {
        std::string why;
        Drawn other;
    } rows[] = {
        {"another typeface", {.text = "4E01", .face = "Ming"}},
        {"slanted", {.text = "4E01", .slant = ".0002"}},
        {"so wide that no viewer would keep its glyphs", {.text = "4E01", .left = "-900"}},
        {"named like a letter, from which sizes are guessed", {.text = "4E01", .name = "m"}},
        {"a picture", {.text = "4E01", .outline = "/X Do"}},
    };
    for (const auto& row : rows) {
        SamplePDF pdf;
        pdf.page("/A 9 Tf <01> Tj /B 9 Tf <01> Tj",
                 "<< /Font << /A " + drawnFont(pdf, {"4E00"}) + " /B " + drawnFont(pdf, row.other) + " >> >>");
        OpenedPDF finished(Finisher().finish(Printed::open(Bytes(pdf.bytes())), {}).pdf);
        EXPECT_NE(finished.content(0).find("/B 9 Tf"), std::string::npos) << row.why;
        EXPECT_TRUE(finished.resource(0, "/Font", "/B").isDictionary()) << row.why;
    }
}

}   // namespace
}   // namespace ostrel::pdf
