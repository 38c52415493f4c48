#include "pdf/Finisher.h"
#include "pdf/content/LateData.h"
#include "pictures/headers/JPEGHeader.h"
#include "tests/pdf/SamplePDF.h"

#include <limits>

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

using test::OpenedPDF;
using test::ref;
using test::SamplePDF;

struct Finished {
    std::string pdf;
    FinishReport report;
};
Finished finish(const std::string& printed, const FinishOptions& options = {}) {
    auto made = Finisher().finish(Printed::open(Bytes(printed)), options);
    return {made.pdf.whole(), std::move(made.report)};
}

std::string box(QPDFObjectHandle rectangle) { return rectangle.unparseResolved(); }

TEST(Finisher, BringsPagesBackOntoThePaper) {
    SamplePDF pdf;
    auto pattern = pdf.object("<< /PatternType 2 /Matrix [1 0 0 1 30 60] /Shading << /ShadingType 2 >> >>");
    auto form =
        pdf.stream("<< /Subtype /Form /BBox [0 0 9 9] /Resources << /Pattern << /P " + ref(pattern) + " >> >> >>",
                   "/Pattern cs /P scn 0 0 9 9 re f");
    const auto resources = "<< /Pattern << /P " + ref(pattern) + " >> /XObject << /X " + ref(form) + " >> >>";
    pdf.page("/Pattern cs /P scn 0 0 9 9 re f /X Do", resources, 900, 1200);
    pdf.page("0 0 9 9 re f", "<< >>", 900, 1200);
    FinishOptions options{.widthPoints = 600, .heightPoints = 800, .scale = 2.0 / 3};
    OpenedPDF finished(finish(pdf.bytes(), options).pdf);

    ASSERT_EQ(finished.file().getAllPages().size(), 2u);
    for (std::size_t i : {0u, 1u}) {
        EXPECT_EQ(box(finished.page(i).getKey("/MediaBox")), "[ 0 0 600 800 ]");
        EXPECT_EQ(finished.content(i).substr(0, 30), "0.6666667 0 0 0.6666667 0 0 cm");
    }
    EXPECT_EQ(finished.resource(0, "/Pattern", "/P").getKey("/Matrix").unparse(), "[ 0.666667 0 0 0.666667 20 40 ]")
        << "a pattern is anchored to the page";
    auto inside = finished.resource(0, "/XObject", "/X").getDict().getKey("/Resources").getKey("/Pattern").getKey("/P");
    EXPECT_EQ(inside.getKey("/Matrix").unparse(), "[ 1 0 0 1 30 60 ]") << "in a form it moves with the form";
}

TEST(Finisher, RoundedPaperKeepsTheTopLeftCorner) {
    SamplePDF pdf;
    pdf.page("0 0 9 9 re f", "<< >>", 595.3, 841.9);
    OpenedPDF finished(finish(pdf.bytes()).pdf);
    EXPECT_EQ(box(finished.page(0).getKey("/MediaBox")), "[ 0 0 595 842 ]");
    EXPECT_EQ(finished.content(0).substr(0, 17), "1 0 0 1 0 0.1 cm\n");
}

TEST(Finisher, PutsLinksWhereTheyWerePrinted) {
    const struct {
        const char* why;
        LinkArea area;
        std::string rectangle, target;   // empty: no link
    } rows[] = {
        {"from the top, scaled",
         {0, 100, 200, 50, 20, "https://a.example/?q=1"},
         "[ 50 690 75 700 ]",
         "https://a.example/?q=1"},
        {"cut at the edges of the paper",
         {0, -10, -10, 20, 20, "mailto:ann@example.com"},
         "[ 0 795 5 800 ]",
         "mailto:ann@example.com"},
        {"blanks and accents are no ASCII",
         {0, 0, 0, 2, 2, " HTTP://a.example/\xC3\xA4 b\n"},
         "[ 0 799 1 800 ]",
         "HTTP://a.example/%C3%A4%20b"},
        {"another scheme", {0, 0, 0, 9, 9, "javascript:alert(1)"}, "", ""},
        {"a file", {0, 0, 0, 9, 9, "file:///etc/passwd"}, "", ""},
        {"no scheme", {0, 0, 0, 9, 9, "www.example.com"}, "", ""},
        {"a file of ours", {0, 0, 0, 2, 2, "", {}, 1}, "[ 0 799 1 800 ]", "A%20b/50%25%20%C3%A4%3F.pdf"},
        {"a file that was not saved", {0, 0, 0, 2, 2, "", {}, 0}, "", ""},
        {"a file that nobody knows", {0, 0, 0, 2, 2, "", {}, 2}, "", ""},
        {"off the paper", {0, 5000, 0, 9, 9, "http://a.example"}, "", ""},
        {"without an area", {0, 10, 10, 0, 9, "http://a.example"}, "", ""},
        {"not a number", {0, std::numeric_limits<double>::quiet_NaN(), 10, 5, 9, "http://a.example"}, "", ""},
        {"a page that is not there", {7, 0, 0, 9, 9, "http://a.example"}, "", ""},
    };
    SamplePDF pdf;
    pdf.page("0 0 9 9 re f", "<< >>", 1200, 1600);
    const auto printed = pdf.bytes();
    for (const auto& row : rows) {
        const auto made = finish(printed, {.widthPoints = 600,
                                           .heightPoints = 800,
                                           .scale = 0.5,
                                           .links = {row.area},
                                           .files = {"", "A b/50% ä?.pdf"}});
        OpenedPDF finished(made.pdf);
        auto annotations = finished.page(0).getKey("/Annots");
        EXPECT_EQ(made.report.links, row.target.empty() ? 0u : 1u) << row.why;
        ASSERT_EQ(annotations.isArray(), !row.target.empty()) << row.why;
        if (row.target.empty()) continue;
        auto link = annotations.getArrayItem(0);
        EXPECT_EQ(box(link.getKey("/Rect")), row.rectangle) << row.why;
        EXPECT_EQ(link.getKey("/A").getKey("/URI").getStringValue(), row.target) << row.why;
    }
}

TEST(Finisher, SaysWhatTheDocumentIs) {
    SamplePDF pdf;
    pdf.page("0 0 9 9 re f");
    const auto printed = pdf.bytes();
    const FinishOptions options{.title = "Grüße 你好 😀",
                                .author = "Ann",
                                .created = Instant(std::chrono::seconds(1709629662)),
                                .language = "de"};
    const auto made = finish(printed, options).pdf;
    EXPECT_EQ(finish(printed, options).pdf, made) << "the same input gives the same bytes";
    OpenedPDF finished(made);
    auto info = finished.file().getTrailer().getKey("/Info");
    EXPECT_EQ(info.getKey("/Title").getUTF8Value(), options.title);
    EXPECT_EQ(info.getKey("/Author").getUTF8Value(), "Ann");
    EXPECT_EQ(info.getKey("/Producer").getUTF8Value(), "Ostrel");
    EXPECT_EQ(info.getKey("/CreationDate").getUTF8Value(), "D:20240305090742Z");
    EXPECT_EQ(finished.file().getRoot().getKey("/Lang").getUTF8Value(), "de");

    OpenedPDF bare(finish(printed).pdf);
    for (const auto* key : {"/Title", "/Author", "/CreationDate", "/ModDate"})
        EXPECT_FALSE(bare.file().getTrailer().getKey("/Info").hasKey(key)) << key;
}

// Two fonts that carry the same program, as the engine writes them.
std::string twoFonts(const std::string& program, const std::string& encoding = "/Identity-H",
                     SamplePDF::Streams streams = SamplePDF::Streams::packed) {
    SamplePDF pdf;
    std::string fonts;
    for (const auto* name : {"/F1", "/F2"}) {
        auto file = pdf.stream("<< /Length1 " + std::to_string(program.size()) + " >>", program);
        auto descriptor = pdf.object("<< /Type /FontDescriptor /FontName /A /FontFile2 " + ref(file) + " >>");
        auto descendant = pdf.object(
            "<< /Type /Font /Subtype /CIDFontType2 /BaseFont /A /CIDToGIDMap /Identity /DW 500 /W [36 [600 610 620] "
            "60 90 700] /FontDescriptor " +
            ref(descriptor) + " >>");
        auto font = pdf.object("<< /Type /Font /Subtype /Type0 /BaseFont /A /Encoding " + encoding +
                               " /DescendantFonts [" + ref(descendant) + "] >>");
        fonts += std::string(name) + " " + ref(font) + " ";
    }
    pdf.page("BT /F1 9 Tf <00240025> Tj /F2 9 Tf <003C00C8> Tj ET", "<< /Font << " + fonts + ">> >>");
    return pdf.bytes(streams);
}

TEST(Finisher, EmbedsOnlyTheGlyphsShownAndEachFontOnce) {
    const auto program = test::systemFont();
    if (!program) GTEST_SKIP() << "no TrueType font where one is expected";
    const auto printed = twoFonts(*program);
    const auto made = finish(printed);
    EXPECT_EQ(made.report.fontsReduced, 1u);
    EXPECT_LT(made.pdf.size(), printed.size() / 20);
    OpenedPDF finished(made.pdf);
    auto first = finished.resource(0, "/Font", "/F1"), second = finished.resource(0, "/Font", "/F2");
    EXPECT_EQ(first.getObjGen(), second.getObjGen());
    EXPECT_EQ(first.getKey("/DescendantFonts").getArrayItem(0).getKey("/W").unparse(), "[ 36 [ 600 610 ] 60 [ 700 ] ]")
        << "widths of the glyphs shown; the one of glyph 200 is the usual one";
    const auto fromStored = finish(twoFonts(*program, "/Identity-H", SamplePDF::Streams::stored));
    EXPECT_NEAR(static_cast<double>(fromStored.pdf.size()), static_cast<double>(made.pdf.size()), 20) << "as small";
}

TEST(Finisher, LeavesFontsWholeWhoseUseItCannotTell) {
    const auto program = test::systemFont();
    if (!program) GTEST_SKIP() << "no TrueType font where one is expected";
    const auto made = finish(twoFonts(*program, "/UniJIS-UTF16-H"));
    EXPECT_EQ(made.report.fontsReduced, 0u);
    OpenedPDF finished(made.pdf);
    auto descendant = finished.resource(0, "/Font", "/F1").getKey("/DescendantFonts").getArrayItem(0);
    EXPECT_EQ(test::plainData(descendant.getKey("/FontDescriptor").getKey("/FontFile2")), *program);
}

// A Type 3 font that draws one code and says what it means.
std::string drawnFont(SamplePDF& pdf, int code, const std::string& text) {
    const auto hex = [](int value) {
        return std::string(1, "0123456789ABCDEF"[value / 16]) + "0123456789ABCDEF"[value % 16];
    };
    auto glyph = pdf.stream("<< >>", "9 0 0 0 9 9 d1 0 0 9 9 re f");
    auto meaning = pdf.stream("<< >>", "1 beginbfchar\n<" + hex(code) + "> <" + text + ">\nendbfchar\n");
    return ref(
        pdf.object("<< /Type /Font /Subtype /Type3 /FontBBox [0 0 9 9] /FontMatrix [.1 0 0 .1 0 0] /FirstChar 0 "
                   "/LastChar 0 /Widths [9] /CharProcs << /g " +
                   ref(glyph) + " >> /Encoding << /Differences [" + std::to_string(code) + " /g] >> /ToUnicode " +
                   ref(meaning) + " >>"));
}

TEST(Finisher, FontsShareTheirTextsUnlessOneCodeMeansTwoThings) {
    SamplePDF pdf;
    const auto fonts = "/A " + drawnFont(pdf, 1, "4E00") + " /B " + drawnFont(pdf, 2, "4E01") + " /C " +
                       drawnFont(pdf, 1, "4E02") + " /D " + drawnFont(pdf, 3, "4E03");
    pdf.page("/A 9 Tf <01> Tj /B 9 Tf (\\2) Tj /C 9 Tf <01> Tj", "<< /Font << " + fonts + " >> >>");
    OpenedPDF finished(finish(pdf.bytes()).pdf);
    const auto texts = [&](const char* font) { return finished.resource(0, "/Font", font).getKey("/ToUnicode"); };
    EXPECT_EQ(texts("/A").getObjGen(), texts("/B").getObjGen());
    EXPECT_NE(test::plainData(texts("/A")).find("<01> <4E00>\n<02> <4E01>"), std::string::npos);
    EXPECT_NE(test::plainData(texts("/C")).find("<01> <4E02>"), std::string::npos);
    EXPECT_NE(test::plainData(texts("/D")).find("<03> <4E03>"), std::string::npos) << "shows nothing, is left alone";
}

const std::string imageEntries = "<< /Type /XObject /Subtype /Image /BitsPerComponent 8 /ColorSpace /DeviceRGB";

TEST(Finisher, DrawsOriginalsAndKeepsEveryPixelOfOtherPictures) {
    const auto photo = test::photograph(120, 80), other = test::photograph(121, 80, test::JPEGKind::progressive);
    SamplePDF pdf;
    auto drawn = pdf.stream(imageEntries + " /Width 121 /Height 80 >>", other.pixels);
    auto twin = pdf.stream(imageEntries + " /Width 121 /Height 80 >>", other.pixels);
    auto wrong = pdf.stream(imageEntries + " /Width 4000 /Height 4000 >>", "too few pixels");
    pdf.page("0 .2 1 rg 0 0 120 80 re f /B Do /C Do /D Do",
             "<< /XObject << /B " + ref(drawn) + " /C " + ref(twin) + " /D " + ref(wrong) + " >> >>");
    const std::vector<PlacedPicture> pictures{{0x0033FF, Original::of(bytesOf(photo.jpeg)).value()}};
    const auto made = finish(pdf.bytes(), {.pictures = pictures});
    EXPECT_EQ(made.report.picturesPlaced, 1u);
    EXPECT_EQ(finish(pdf.bytes(SamplePDF::Streams::stored), {.pictures = pictures}).pdf.size(), made.pdf.size());
    OpenedPDF finished(made.pdf);
    auto original = finished.resource(0, "/XObject", "/Original0");
    EXPECT_TRUE(original.getDict().getKey("/Filter").isNameAndEquals("/DCTDecode"));
    const auto jpeg = original.getRawStreamData();
    EXPECT_EQ(std::string_view(reinterpret_cast<const char*>(jpeg->getBuffer()), jpeg->getSize()).find("Exif"),
              std::string_view::npos)
        << "where a picture was taken is not on the page";
    EXPECT_EQ(test::plainData(finished.resource(0, "/XObject", "/B")), other.pixels);
    EXPECT_EQ(finished.resource(0, "/XObject", "/B").getObjGen(), finished.resource(0, "/XObject", "/C").getObjGen());
    EXPECT_EQ(test::plainData(finished.resource(0, "/XObject", "/D")), "too few pixels");
}

// They do not pass through the library that writes the file, which is told of none of their places.
TEST(Finisher, PutsOriginalsOfAllSizesIntoTheirPlaces) {
    const auto large = test::photograph(640, 480).jpeg, larger = test::photograph(1200, 900).jpeg;
    const auto small = test::photograph(8, 6).jpeg;
    const auto commented = large.substr(0, 2) + std::string("\xFF\xFE\0\5abc", 7) + large.substr(2);
    const std::vector<PlacedPicture> pictures{{0x0033FF, Original::of(bytesOf(large)).value()},
                                              {0x003366, Original::of(bytesOf(larger)).value()},
                                              {0x003399, Original::of(bytesOf(small)).value()},
                                              {0x0033CC, Original::of(bytesOf(commented)).value()},
                                              {0x003300, Original::of(bytesOf(small)).value()}};
    SamplePDF pdf;
    pdf.page(
        "0 .2 1 rg 0 0 640 480 re f 0 .2 .4 rg 0 0 1200 900 re f 0 .2 .6 rg 0 0 8 6 re f 0 .2 .8 rg 0 0 640 480 re f");
    pdf.file().getRoot().replaceKey("/ViewerPreferences", pdf.object("<< /DisplayDocTitle true >>"));
    for (int i = 0; i < 300; ++i) pdf.page(std::to_string(i) + " 0 9 9 re f");
    const auto made = Finisher().finish(Printed::open(Bytes(pdf.bytes())), {.pictures = pictures}).pdf;
    EXPECT_EQ(made.size(), made.whole().size());
    EXPECT_GT(made.pieces().size(), 2u) << "not copied";
    OpenedPDF finished(made);
    ASSERT_EQ(finished.file().getAllPages().size(), 301u);
    EXPECT_NE(finished.content(300).find("299 0 9 9 re"), std::string::npos);
    const auto dataOf = [&](const char* name) {
        const auto data = finished.resource(0, "/XObject", name).getRawStreamData();
        return std::string(reinterpret_cast<const char*>(data->getBuffer()), data->getSize());
    };
    const auto stripped = [](const std::string& photo) {
        std::string bytes;
        for (const auto piece :
             pictures::withoutMetadata(bytesOf(photo), pictures::readJPEGHeader(bytesOf(photo)).value()))
            bytes += charsOf(piece);
        return bytes;
    };
    EXPECT_EQ(dataOf("/Original0"), stripped(large));
    EXPECT_EQ(dataOf("/Original1"), stripped(larger));
    EXPECT_EQ(dataOf("/Original2"), stripped(small));
    EXPECT_EQ(finished.resource(0, "/XObject", "/Original0").getObjGen(),
              finished.resource(0, "/XObject", "/Original3").getObjGen())
        << "what is left of both is the same";
}

TEST(Finisher, WritesOriginalsThroughTheLibraryWhereTheyCannotBePutIn) {
    const std::string data(10'000, 'x');
    SamplePDF pdf;
    const auto filter = QPDFObjectHandle::newName("/DCTDecode");
    auto image = pdf.stream(imageEntries + " /Width 4 /Height 4 >>", "");
    pdf.page("/I Do", "<< /XObject << /I " + ref(image) + " >> >>");
    LateData late;
    late.give(image, {bytesOf(data)}, filter, QPDFObjectHandle::newNull());
    image.replaceStreamData("no mark", filter, QPDFObjectHandle::newNull());
    OpenedPDF finished(FinishedFile::of(pdf.file(), late));
    const auto stored = finished.resource(0, "/XObject", "/I").getRawStreamData();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(stored->getBuffer()), stored->getSize()), data);
}

TEST(Finisher, PagesThatLookTheSameStayApart) {
    SamplePDF pdf;
    for (int i = 0; i < 3; ++i) pdf.page("0 0 9 9 re f");
    OpenedPDF finished(finish(pdf.bytes(), {.scale = 0.5}).pdf);
    ASSERT_EQ(finished.file().getAllPages().size(), 3u);
    EXPECT_NE(finished.page(0).getObjGen(), finished.page(1).getObjGen());
    EXPECT_EQ(finished.content(2), "0.5 0 0 0.5 0 421 cm\n0 0 9 9 re f\n") << "scaled once";
}

TEST(Finisher, DamageIsOneKindOfErrorAndNeverALostPage) {
    SamplePDF pdf;
    for (int i = 0; i < 3; ++i) pdf.page("0 0 9 9 re f");
    const auto whole = pdf.bytes();
    auto lying = whole;
    lying.replace(lying.find("/Count 3"), 8, "/Count 4");
    EXPECT_THROW(finish(""), Error);
    EXPECT_THROW(finish("%PDF-1.4\n%%EOF"), Error);
    EXPECT_THROW(finish(lying), Error);
    for (std::size_t cut = 0; cut < whole.size() - 8; cut += 3)
        EXPECT_THROW(finish(whole.substr(0, cut)), Error) << "cut at " << cut;
    for (std::size_t at = 0; at < whole.size(); at += 5) {   // either it notices, or every page is there
        auto flipped = whole;
        flipped[at] = static_cast<char>(flipped[at] ^ 4);
        try {
            EXPECT_EQ(OpenedPDF(finish(flipped).pdf).file().getAllPages().size(), 3u) << "at " << at;
        } catch (const Error&) {
        }
    }
}

TEST(Finisher, TellsWhatIsNoPdf) {
    for (const std::string_view printed : {"", "no PDF", "%PDF-1.4 and no more"})
        EXPECT_THROW(Printed::open(Bytes(std::string(printed))), Error) << printed;
}

}   // namespace
}   // namespace ostrel::pdf
