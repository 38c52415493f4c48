#include "pdf/content/Contents.h"
#include "pdf/content/Deflate.h"
#include "pdf/content/LateData.h"
#include "pdf/images/PlacedPictures.h"
#include "tests/pdf/SamplePDF.h"
#include "tests/pictures/SamplePictures.h"

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

using test::OpenedPDF;
using test::SamplePDF;

constexpr std::uint32_t colour = 0x2B9E37;
constexpr const char* fill = ".1686 .6196 .2157 RG .1686 .6196 .2157 rg ";
const std::string gone = "  ";   // colours that are others each time, and would make each export another

std::string jpegTurned(const std::string& file, unsigned orientation) {
    return file.substr(0, 2) + test::segment(0xE1, test::exif(orientation)) + file.substr(2);
}

TEST(Original, OfWhatViewersAndTheEngineShowAlike) {
    const auto photo = test::photograph(8, 6).jpeg;
    const std::string rows("\0\0\0\0\0\0\0\0", 8);   // two of one pixel, RGB
    const std::string deepRows(14, '\0');
    const auto png = [](const std::string& bitsAndColours, const std::string& chunks, unsigned width = 1,
                        unsigned height = 2) {
        return "\x89PNG\r\n\x1A\n" +
               test::chunk("IHDR", test::big(width, 4) + test::big(height, 4) + bitsAndColours + test::big(0, 3)) +
               chunks + test::chunk("IEND", "");
    };
    const auto adobe = [&](char transform) {
        return photo.substr(0, 20) + test::segment(0xEE, std::string("Adobe\0\x64\0\0\0\0", 11) + transform) +
               photo.substr(20);
    };
    const auto data = [](const std::string& bytes) {
        return test::chunk("IDAT", zlib::deflate(bytes, zlib::Effort::quick));
    };
    const std::string rgb = "\x08\x02", deep = "\x10\x02", palette = "\x08\x03";
    const struct {
        const char* why;
        std::string file;
        bool isOne;
    } table[] = {
        {"a photograph", photo, true},
        {"progressive", test::photograph(8, 6, test::JPEGKind::progressive).jpeg, true},
        {"grey", test::photograph(8, 6, test::JPEGKind::gray).jpeg, true},
        {"cut short", photo.substr(0, photo.size() - 2), false},
        {"with a film behind it", photo + "a film", true},
        {"of which readers and the engine say other colours", adobe('\0'), false},
        {"a PNG", png(rgb, data(rows)), true},
        {"with a palette", png(palette, test::chunk("PLTE", "rgb") + data(rows.substr(0, 4))), true},
        {"without its palette", png(palette, data(rows.substr(0, 4))), false},
        {"one colour is transparent", png(rgb, test::chunk("tRNS", "rrggbb") + data(rows)), false},
        {"an animation", png(rgb, test::chunk("acTL", "") + data(rows)), false},
        {"with a gamma of its own", png(rgb, test::chunk("gAMA", test::big(100'000, 4)) + data(rows)), false},
        {"with that of all", png(rgb, test::chunk("gAMA", test::big(45'455, 4)) + data(rows)), true},
        {"of 16 bits", png(deep, data(deepRows)), true},
        {"a row too few", png(rgb, data(rows.substr(0, 4))), false},
        {"a row too many", png(rgb, data(rows + rows)), false},
        {"no such filter", png(rgb, data("\5" + rows.substr(1))), false},
        {"no pixels", png(rgb, test::chunk("IDAT", "zlib")), false},
        {"far larger than its bytes can be", png(rgb, data(rows), 30'000, 30'000), false},
        {"another kind", "GIF89a", false},
    };
    for (const auto& row : table) EXPECT_EQ(Original::of(bytesOf(row.file)).has_value(), row.isOne) << row.why;
}

// Where the corners of a picture of 8 by 6 come to lie once it is upright: the upper left one, and the upper right one.
TEST(Original, StandsUprightInItsBox) {
    const auto photo = test::photograph(8, 6).jpeg;
    const struct {
        unsigned orientation;
        double leftX, leftY, rightX, rightY;
    } rows[] = {{1, 0, 0, 8, 0}, {2, 8, 0, 0, 0}, {3, 8, 6, 0, 6}, {4, 0, 6, 8, 6},
                {5, 0, 0, 0, 8}, {6, 6, 0, 6, 8}, {7, 6, 8, 6, 0}, {8, 0, 8, 0, 0}};
    for (const auto& row : rows) {
        const auto file = jpegTurned(photo, row.orientation);
        const auto [a, b, c, d, e, f] = Original::of(bytesOf(file)).value().placement();
        EXPECT_EQ((std::array{c + e, d + f}), (std::array{row.leftX, row.leftY})) << row.orientation;
        EXPECT_EQ((std::array{a + c + e, b + d + f}), (std::array{row.rightX, row.rightY})) << row.orientation;
    }
}

TEST(PlacedPictures, AreDrawnWhereTheirRectanglesWereAndNowhereElse) {
    const auto photo = test::photograph(8, 6).jpeg;
    const PlacedPicture picture{colour, Original::of(bytesOf(photo)).value()};
    const std::string drawing = "q 8 0 0 -6 0 6 cm /Original0 Do Q", whole = "0 0 8 6 re\nf\n";
    const struct {
        const char* why;
        std::string content, drawn;   // empty: the picture is to go through the engine
    } rows[] = {
        {"once", fill + whole, gone + drawing + "\n"},
        {"twice in one colour", fill + whole + whole, gone + drawing + "\n" + drawing + "\n"},
        {"within what is saved", fill + ("q 1 0 0 rg 0 0 8 6 re f Q " + whole),
         gone + ("q 1 0 0 rg 0 0 8 6 re f Q " + drawing + "\n")},
        {"where nothing is drawn in it", fill + std::string("n"), gone + "n"},
        {"in no place", "1 0 0 rg 0 0 8 6 re f", "1 0 0 rg 0 0 8 6 re f"},
        {"clipped to itself", "q\n10 20 4 3 re\nW* n\nq\n.5 0 0 .5 10 20 cm\n" + (fill + whole) + "Q\nQ\n",
         "q\n\nq\n.5 0 0 .5 10 20 cm\n" + (gone + drawing) + "\nQ\nQ\n"},
        {"clipped to a part", "q\n10 20 3 3 re\nW* n\nq\n.5 0 0 .5 10 20 cm\n" + (fill + whole) + "Q\nQ\n",
         "q\n10 20 3 3 re\nW* n\nq\n.5 0 0 .5 10 20 cm\n" + (gone + drawing) + "\nQ\nQ\n"},
        {"turned within a clip of its shape",
         "q\n0 0 m 0 4 l -3 4 l -3 0 l 0 0 l h W n\nq\n0 .5 -.5 0 0 0 cm\n" + (fill + whole) + "Q\nQ\n",
         "q\n\nq\n0 .5 -.5 0 0 0 cm\n" + (gone + drawing) + "\nQ\nQ\n"},
        {"a clip that holds for more",
         "q\n10 20 4 3 re\nW* n\nq\n.5 0 0 .5 10 20 cm\n" + (fill + whole) + "Q\n0 0 9 9 re S Q\n",
         "q\n10 20 4 3 re\nW* n\nq\n.5 0 0 .5 10 20 cm\n" + (gone + drawing) + "\nQ\n0 0 9 9 re S Q\n"},
        {"another size", fill + std::string("0 0 8 5 re f"), ""},
        {"another shape", fill + std::string("0 0 m 8 0 l 8 6 l h f"), ""},
        {"two at once", fill + std::string("0 0 8 6 re 0 0 8 6 re f"), ""},
        {"with a frame", fill + std::string("0 0 8 6 re B"), ""},
        {"content that is not understood", fill + (whole + "Q"), ""},
    };
    for (const auto& row : rows) {
        SamplePDF sample;
        sample.page(row.content);
        OpenedPDF file(sample.bytes());
        Contents contents(file.file());
        LateData late;
        const auto odd = placePictures(file.file(), contents, std::span(&picture, 1), late);
        EXPECT_EQ(odd.empty(), !row.drawn.empty()) << row.why;
        if (!odd.empty()) continue;
        EXPECT_EQ(*contents.textOf(contents.all().front()), row.drawn) << row.why;
    }
}

TEST(PlacedPictures, ThatThePageShowsMustComeBack) {
    const auto photo = test::photograph(8, 6).jpeg;
    const PlacedPicture pictures[] = {{colour, Original::of(bytesOf(photo)).value(), true},
                                      {0x102030, Original::of(bytesOf(photo)).value(), false}};
    SamplePDF sample;
    sample.page("q Q");
    OpenedPDF file(sample.bytes());
    Contents contents(file.file());
    LateData late;
    EXPECT_EQ(placePictures(file.file(), contents, pictures, late), std::vector{colour});
}

// What readers are told of the colours, and how much of the file they get.
TEST(Original, SaysWhichColoursItHas) {
    const auto grey = test::photograph(8, 6, test::JPEGKind::gray).jpeg;
    std::string profile(200, '\0');
    profile.replace(0, 20, test::big(200, 4) + "lcms" + test::big(0x02400000, 4) + "mntrRGB ");
    profile.replace(36, 4, "acsp");
    const auto withProfile = [&](const std::string& icc) {
        const auto photo = test::photograph(8, 6).jpeg;
        return photo.substr(0, 20) + test::segment(0xE2, std::string("ICC_PROFILE\0\1\1", 14) + icc) + photo.substr(20);
    };
    auto greyProfile = profile;
    greyProfile.replace(16, 4, "GRAY");
    const struct {
        const char* why;
        std::string file, space;
    } rows[] = {
        {"a photograph", test::photograph(8, 6).jpeg, "/DeviceRGB"},
        {"grey", grey, "/DeviceGray"},
        {"with a profile", withProfile(profile), "[ /ICCBased "},
        {"with a profile for other colours", withProfile(greyProfile), "/DeviceRGB"},
        {"with a profile cut short", withProfile(profile.substr(0, 150)), "/DeviceRGB"},
    };
    for (const auto& row : rows) {
        SamplePDF sample;
        LateData late;
        auto image = Original::of(bytesOf(row.file)).value().imageIn(sample.file(), late);
        EXPECT_EQ(image.getDict().getKey("/ColorSpace").unparse().substr(0, row.space.size()), row.space) << row.why;
        EXPECT_LE(late.all().front().size, test::photograph(8, 6).jpeg.size()) << row.why;
    }
}

TEST(PlacedPictures, InARasterGoThroughTheEngine) {
    constexpr std::uint32_t second = 0x102030;
    const auto photo = test::photograph(8, 6).jpeg;
    const PlacedPicture pictures[] = {{colour, Original::of(bytesOf(photo)).value()},
                                      {second, Original::of(bytesOf(photo)).value()}};
    SamplePDF sample;
    const std::string pixels = "\1\2\3" + test::big(second, 3);
    const auto raster = sample.stream(
        "<< /Type /XObject /Subtype /Image /Width 2 /Height 1 /BitsPerComponent 8 /ColorSpace /DeviceRGB >>", pixels);
    sample.page("/X Do", "<< /XObject << /X " + test::ref(raster) + " >> >>");
    OpenedPDF file(sample.bytes());
    Contents contents(file.file());
    LateData late;
    EXPECT_EQ(placePictures(file.file(), contents, pictures, late), std::vector{second});
}

}   // namespace
}   // namespace ostrel::pdf
