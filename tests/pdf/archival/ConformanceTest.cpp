#include "pdf/Finisher.h"
#include "tests/pdf/SamplePDF.h"
#include "tests/pdf/archival/ArchivalRules.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

using test::OpenedPDF;
using test::ref;
using test::SamplePDF;

Finisher::Finished finish(SamplePDF& pdf, const FinishOptions& options = {}) {
    return Finisher().finish(Printed::open(Bytes(pdf.bytes())), options);
}

QPDFObjectHandle firstPage(QPDF& file) { return file.getAllPages().front(); }

TEST(Conformance, IsClaimedOnlyWhereItHolds) {
    const struct {
        const char* why;
        std::string kind, object;   // among the page's resources
        bool isClaimed;
    } rows[] = {
        {"plain drawing", "ExtGState", "<< /Type /ExtGState /ca .5 /BM /Multiply >>", true},
        {"a font that the reader's machine must have", "Font", "<< /Type /Font /Subtype /Type1 /BaseFont /Arial >>",
         false},
        {"a composite font without its program", "Font",
         "<< /Type /Font /Subtype /CIDFontType2 /CIDToGIDMap /Identity /FontDescriptor << >> >>", false},
        {"a blend mode of later versions", "ExtGState", "<< /Type /ExtGState /BM /Novel >>", false},
        {"a transfer function", "ExtGState", "<< /Type /ExtGState /TR /Identity >>", false},
        {"inks", "Shading", "<< /ShadingType 2 /ColorSpace /DeviceCMYK >>", false},
    };
    for (const auto& row : rows) {
        SamplePDF pdf;
        auto object = pdf.object(row.object);
        pdf.page("0 0 9 9 re f", "<< /" + row.kind + " << /X " + ref(object) + " >> >>");
        const auto made = finish(pdf);
        EXPECT_EQ(made.report.isArchival, row.isClaimed) << row.why;
        const auto kept = std::ranges::find(made.report.passes, "conformance", &PassReport::name)->kept;
        EXPECT_EQ(kept.empty(), row.isClaimed) << row.why;
    }
}

TEST(Conformance, PicturesHaveColoursThatTheFileExplains) {
    const struct {
        const char* why;
        std::string entries;
        bool isClaimed;
    } rows[] = {
        {"a palette", "/ColorSpace [/Indexed /DeviceRGB 0 <000000>]", true},
        {"a mask", "/ImageMask true", true},
        {"inks", "/ColorSpace /DeviceCMYK", false},
        {"a profile that is none", "/ColorSpace [/ICCBased 1 0 R]", false},
        {"smoothing", "/ColorSpace /DeviceGray /Interpolate true", false},
    };
    for (const auto& row : rows) {
        SamplePDF pdf;
        auto picture =
            pdf.stream("<< /Subtype /Image /Width 1 /Height 1 /BitsPerComponent 8 " + row.entries + " >>", "x");
        pdf.page("/X Do", "<< /XObject << /X " + ref(picture) + " >> >>");
        EXPECT_EQ(finish(pdf).report.isArchival, row.isClaimed) << row.why;
    }
}

TEST(Conformance, EveryGlyphMeansACharacter) {
    SamplePDF pdf;
    const auto font = test::drawnFont(pdf, "Symbols", {{1, u"A"}, {2, u""}, {3, std::u16string(1, u'\0')}});
    pdf.page("BT /F 9 Tf <010203> Tj ET", "<< /Font << /F " + font + " >> >>");
    const auto made = finish(pdf, {.title = "<A & B>\u0001", .author = "Ann", .links = {{0, 9, 9, 9, 9, "http://a"}}});
    EXPECT_TRUE(made.report.isArchival);
    EXPECT_EQ(test::brokenArchivalRules(made.pdf.whole()), std::vector<std::string>());
}

// What the check is for: it finds each of them broken.
TEST(Conformance, TheCheckSeesBrokenRules) {
    SamplePDF pdf;
    pdf.page("BT /F 9 Tf <01> Tj ET", "<< /Font << /F " + test::drawnFont(pdf, "Symbols", {{1, u"A"}}) + " >> >>");
    const auto whole = finish(pdf, {.title = "T", .links = {{0, 9, 9, 9, 9, "http://a"}}}).pdf.whole();
    const struct {
        std::string rule;
        void (*damage)(QPDF& file);
    } rows[] = {
        {"6.2.3", [](QPDF& file) { file.getRoot().removeKey("/OutputIntents"); }},
        {"6.3.2", [](QPDF& file) { firstPage(file).getKey("/Annots").getArrayItem(0).removeKey("/F"); }},
        {"6.6.2.1", [](QPDF& file) { file.getRoot().removeKey("/Metadata"); }},
        {"6.6.3", [](QPDF& file) { file.getTrailer().getKey("/Info").removeKey("/Title"); }},
        {"6.2.11.7",
         [](QPDF& file) { firstPage(file).getKey("/Resources").getKey("/Font").getKey("/F").removeKey("/ToUnicode"); }},
    };
    for (const auto& row : rows) {
        OpenedPDF opened(whole);
        row.damage(opened.file());
        const auto broken = test::brokenArchivalRules(test::written(opened.file()));
        EXPECT_TRUE(std::ranges::any_of(broken, [&](const auto& rule) { return rule.starts_with(row.rule + ":"); }))
            << row.rule;
    }
}

}   // namespace
}   // namespace ostrel::pdf
