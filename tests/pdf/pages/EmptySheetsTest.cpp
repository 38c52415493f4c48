#include "pdf/Finisher.h"
#include "tests/pdf/SamplePDF.h"
#include "tests/pdf/tags/TagRules.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

using test::OpenedPDF;
using test::ref;
using test::SamplePDF;

const std::string shown = "0 0 9 9 re f";

Finisher::Finished finish(SamplePDF& pdf, const FinishOptions& options = {}) {
    return Finisher().finish(Printed::open(Bytes(pdf.bytes())), options);
}

// What the engine begins each layer of a sheet with: the axes turned, and the clip to the margins.
std::string layer(const std::string& content) {
    return "q 1 0 0 -1 0 842 cm q 44 40 507 762 re W* n q .8 0 0 .8 44 -672 cm /G gs " + content + " Q Q Q ";
}

TEST(EmptySheets, OnlyWhatLeavesNoMarkIsTakenOff) {
    const std::string across = "0 890 634 ", white = "1 1 1 rg ", gray = ".9 .9 .95 rg ";
    const struct {
        const char* why;
        std::string content;
        bool stays;
    } rows[] = {
        {"nothing", " ", false},
        {"white", layer(white + across + "40 re f"), false},
        {"a white line on white paper", layer(white + "10 900 300 1 re f"), false},
        {"a colour across the sheet", layer(gray + across + "40 re f"), false},
        {"two colours", layer(gray + across + "400 re f") + layer(".8 g " + across + "90 re f"), false},
        {"a white column on a colour", layer(gray + across + "400 re f " + white + "28 890 570 300 re f"), false},
        {"a colour that is not on the sheet", layer("0 0 9 9 re f"), false},
        {"blanks", layer("BT /F 14 Tf 1 0 0 -1 0 900 Tm <0001> Tj [<0003> -5 <0001>] TJ ET"), false},
        {"a clip that nothing is painted in", layer("0 0 m 9 9 l 9 0 l h W n"), false},

        {"a letter", layer("BT /F 14 Tf <00010002> Tj ET"), true},
        {"a white letter", layer(white + "BT /F 14 Tf <0002> Tj ET"), true},
        {"a glyph without a meaning", layer("BT /F 14 Tf <0009> Tj ET"), true},
        {"a blank whose font draws", layer("BT /D 14 Tf <01> Tj ET"), true},
        {"the font of a state restored", layer("/T 9 Tf q /F 9 Tf Q BT <0001> Tj ET"), true},
        {"half a code", layer("BT /F 14 Tf <000100> Tj ET"), true},
        {"a rule across the sheet", layer(gray + across + "1 re f"), true},
        {"a white line on a colour", layer(gray + across + "400 re f " + white + "10 900 300 1 re f"), true},
        {"a bar", layer(gray + "0 890 300 40 re f"), true},
        {"a bar beside a background", layer(gray + across + "40 re 9 990 60 60 re f"), true},
        {"a colour seen through a narrower clip", layer("0 890 300 99 re W n " + gray + across + "99 re f"), true},
        {"a colour seen through a shape", layer("0 890 m 634 890 l 300 990 l h W n " + gray + across + "99 re f"),
         true},
        {"a colour that is turned", layer(".7 .7 -.7 .7 0 0 cm " + gray + across + "40 re f"), true},
        {"a triangle", layer(gray + "0 890 m 634 890 l 300 990 l f"), true},
        {"a frame", layer(across + "40 re S"), true},
        {"a gradient", layer("/Pattern cs /P scn " + across + "40 re f"), true},
        {"a shading", layer("/S sh"), true},
        {"a picture or form", layer("/X Do"), true},
        {"a mask", layer("/M gs " + gray + across + "40 re f"), true},
        {"colours mixed with those below", layer("/B gs " + gray + across + "40 re f"), true},
        {"an operator of the future", layer("1 shine"), true},
        {"content that cannot be followed", "Q q", true},
    };
    for (const auto& row : rows) {
        SamplePDF pdf;
        const CodeTexts texts{{1, u" "}, {2, u"a"}, {3, u"\u00A0\u200B"}};
        const auto form = pdf.stream("<< /Subtype /Form /BBox [0 0 9 9] >>", shown);
        const auto resources = "<< /Font << /F " + test::compositeFont(pdf, "no program", texts) + " /D " +
                               test::drawnFont(pdf, "D", {{1, u" "}}) + " >> /XObject << /X " + ref(form) +
                               " >> /ExtGState << /G << /ca .5 /BM /Normal >> /M << /SMask << /S /Luminosity /G " +
                               ref(form) + " >> >> /B << /BM /Multiply >> >> >>";
        pdf.page(shown);
        pdf.page(row.content, resources);
        const auto made = finish(pdf);
        const std::size_t pages = row.stays ? 2 : 1;
        EXPECT_EQ(OpenedPDF(made.pdf).file().getAllPages().size(), pages) << row.why;
        EXPECT_EQ(made.report.pages, pages) << row.why;
        EXPECT_EQ(test::brokenTagRules(made.pdf.whole()), std::vector<std::string>{}) << row.why;
    }
}

TEST(EmptySheets, OnlyTheEndIsTakenOffAndNeverAllOfIt) {
    const struct {
        const char* why;
        std::vector<std::string> pages;
        std::size_t left;
    } rows[] = {
        {"several", {shown, " ", " "}, 1},
        {"one within", {shown, " ", shown, " "}, 3},
        {"the first", {" ", " "}, 1},
    };
    for (const auto& row : rows) {
        SamplePDF pdf;
        for (const auto& content : row.pages) pdf.page(content);
        EXPECT_EQ(OpenedPDF(finish(pdf).pdf).file().getAllPages().size(), row.left) << row.why;
    }
}

TEST(EmptySheets, NothingIsLeftThatPointsToOneTakenOff) {
    const struct {
        const char* why;
        std::function<void(QPDF&, QPDFObjectHandle last)> refer;
        FinishOptions options;
    } rows[] = {
        {"a link on it", [](QPDF&, QPDFObjectHandle) {}, {.links = {{1, 50, 50, 9, 9, "https://a.example"}}}},
        {"a destination with a name",
         [](QPDF& file, QPDFObjectHandle last) {
             file.getRoot().replaceKey("/Dests", QPDFObjectHandle::parse(&file, "<< /a [" + ref(last) + " /Fit] >>"));
         },
         {}},
        {"a link on another page",
         [](QPDF& file, QPDFObjectHandle last) {
             auto first = file.getAllPages().front();
             first.replaceKey("/Annots",
                              QPDFObjectHandle::parse(&file, "[<< /Subtype /Link /Rect [0 0 9 9] /A << /S /GoTo /D [" +
                                                                 ref(last) + " /Fit] >> >>]"));
         },
         {}},
    };
    for (const auto& row : rows) {
        SamplePDF pdf;
        pdf.page(shown);
        pdf.page(" ");
        row.refer(pdf.file(), pdf.file().getAllPages().back());
        EXPECT_EQ(OpenedPDF(finish(pdf, row.options).pdf).file().getAllPages().size(), 2u) << row.why;
    }
}

}   // namespace
}   // namespace ostrel::pdf
