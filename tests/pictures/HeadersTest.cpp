#include "pictures/headers/ClaimedSize.h"
#include "pictures/headers/JPEGHeader.h"
#include "pictures/headers/PNGHeader.h"
#include "pictures/headers/Size.h"
#include "tests/pictures/SamplePictures.h"

#include <gtest/gtest.h>

namespace ostrel::pictures {
namespace {

using namespace std::string_literals;
using namespace test;

constexpr unsigned sof0 = 0xC0, sof2 = 0xC2, arithmetic = 0xC9, sos = 0xDA, app0 = 0xE0, app1 = 0xE1, app2 = 0xE2,
                   app14 = 0xEE;
const std::string jfif = segment(app0, "JFIF\0\1\1\0\0\1\0\1\0\0"s);

std::string adobe(unsigned transform) { return segment(app14, "Adobe\0\x64\0\0\0\0"s + big(transform, 1)); }

// Its components are called 1, 2, 3..., or by these letters.
std::string frame(unsigned marker, unsigned width, unsigned height, unsigned components, std::string_view names = "") {
    std::string content = big(8, 1) + big(height, 2) + big(width, 2) + big(components, 1);
    for (unsigned i = 0; i < components; ++i)
        content += (names.empty() ? big(i + 1, 1) : std::string(1, names[i])) + "\x11\0"s;
    return segment(marker, content);
}

std::string jpeg(const std::string& segments) {
    return "\xFF\xD8" + segments + segment(sos, "\1\1\0\0\x3F\0"s) + "pixels\xFF\xD9";
}

TEST(JPEGHeader, SaysWhichColoursAreMeant) {
    const struct {
        const char* why;
        std::string segments;
        JPEGColours colours;
        bool isInverted, isCommon;
    } rows[] = {
        {"a photograph", jfif + frame(sof0, 4, 3, 3), JPEGColours::yCbCr, false, true},
        {"progressive", jfif + frame(sof2, 4, 3, 3), JPEGColours::yCbCr, false, true},
        {"arithmetic codes", jfif + frame(arithmetic, 4, 3, 3), JPEGColours::yCbCr, false, false},
        {"grey", jfif + frame(sof0, 4, 3, 1), JPEGColours::grey, false, true},
        {"RGB by Adobe", adobe(0) + frame(sof0, 4, 3, 3), JPEGColours::rgb, false, true},
        {"RGB by its names", frame(sof0, 4, 3, 3, "RGB"), JPEGColours::rgb, false, true},
        {"JFIF is YCbCr whatever else is said", jfif + adobe(0) + frame(sof0, 4, 3, 3), JPEGColours::yCbCr, false,
         true},
        {"for printers", adobe(2) + frame(sof0, 4, 3, 4), JPEGColours::ycck, true, true},
        {"for printers, unlike Adobe", frame(sof0, 4, 3, 4), JPEGColours::cmyk, false, true},
        {"two components", frame(sof0, 4, 3, 2), JPEGColours::other, false, false},
    };
    for (const auto& row : rows) {
        const auto file = jpeg(row.segments);
        const auto header = readJPEGHeader(bytesOf(file));
        ASSERT_TRUE(header) << row.why;
        EXPECT_EQ(header->size, (Size{4, 3})) << row.why;
        EXPECT_EQ(header->colours, row.colours) << row.why;
        EXPECT_EQ(header->isInverted, row.isInverted) << row.why;
        EXPECT_EQ(header->isCommon, row.isCommon) << row.why;
    }
}

// The sizes are what the engine gives for such files.
TEST(JPEGHeader, IsTurnedAsTheEngineTurnsIt) {
    auto asLong = exif(6);
    asLong[asLong.find("\x12\x01") + 2] = 4;
    auto beyond = exif(6);
    beyond[10] = '\xF0';   // where the directory is
    const auto picture = frame(sof0, 60, 40, 3);
    const struct {
        const char* why;
        std::string segments;
        Orientation orientation;
    } rows[] = {
        {"upright", segment(app1, exif(1)) + picture, Orientation::upright},
        {"on its side", segment(app1, exif(6)) + picture, Orientation::turnedRight},
        {"said after the tables", picture + segment(app1, exif(8)), Orientation::turnedLeft},
        {"said twice, the first counts", segment(app1, exif(3)) + segment(app1, exif(6)) + picture,
         Orientation::turnedHalf},
        {"no such turn", segment(app1, exif(9)) + segment(app1, exif(6)) + picture, Orientation::upright},
        {"a number of the wrong kind", segment(app1, asLong) + picture, Orientation::upright},
        {"a directory beyond the end", segment(app1, beyond) + picture, Orientation::upright},
        {"cut short", segment(app1, exif(6).substr(0, 20)) + picture, Orientation::upright},
        {"other data of that marker", segment(app1, "http://ns.adobe.com/xap/1.0/\0"s) + picture, Orientation::upright},
    };
    for (const auto& row : rows) {
        const auto file = jpeg(row.segments);
        const auto header = readJPEGHeader(bytesOf(file));
        ASSERT_TRUE(header) << row.why;
        EXPECT_EQ(header->orientation, row.orientation) << row.why;
        EXPECT_EQ(naturalSize(bytesOf(file)), (swapsSides(row.orientation) ? Size{40, 60} : Size{60, 40})) << row.why;
    }
}

TEST(JPEGHeader, PutsProfilesTogetherOrGivesNone) {
    const auto part = [](unsigned which, unsigned count, const std::string& bytes) {
        return segment(app2, "ICC_PROFILE\0"s + big(which, 1) + big(count, 1) + bytes);
    };
    const struct {
        const char* why;
        std::string segments, profile;
    } rows[] = {
        {"one part", part(1, 1, "abc"), "abc"},
        {"in any order", part(2, 2, "def") + part(1, 2, "abc"), "abcdef"},
        {"one is missing", part(1, 2, "abc"), ""},
        {"one comes twice, one is missing", part(1, 2, "abc") + part(1, 2, "abc"), ""},
        {"numbers from nought", part(0, 1, "abc"), ""},
    };
    for (const auto& row : rows) {
        const auto file = jpeg(row.segments + frame(sof0, 4, 3, 3));
        EXPECT_EQ(readJPEGHeader(bytesOf(file)).value().profile, row.profile) << row.why;
    }
}

TEST(JPEGHeader, MetadataGoAndNothingElse) {
    const auto needed = jfif + adobe(1) + segment(0xDB, "table") + frame(sof0, 4, 3, 3);
    const auto file = jpeg(segment(app1, exif(6)) + needed + segment(0xFE, "comment") + segment(app0, "JFXX\0"s));
    std::string kept;
    for (const auto piece : withoutMetadata(bytesOf(file), readJPEGHeader(bytesOf(file)).value()))
        kept += charsOf(piece);
    EXPECT_EQ(kept, jpeg(needed));
}

TEST(JPEGHeader, DamageIsNoHeader) {
    const auto whole = jpeg(jfif + frame(sof0, 4, 3, 3));
    const auto end = whole.find("\xFF\xDA"s) + 10;
    for (std::size_t cut = 0; cut < end; ++cut)
        EXPECT_FALSE(readJPEGHeader(bytesOf(whole.substr(0, cut)))) << "cut at " << cut;
    EXPECT_FALSE(readJPEGHeader(bytesOf(jpeg(jfif)))) << "no frame";
    EXPECT_TRUE(readJPEGHeader(bytesOf(jpeg("\xFF\xFF" + frame(sof0, 4, 3, 3))))) << "fill bytes";
}

std::string ihdr(unsigned width, unsigned height, unsigned bits, unsigned colours, unsigned interlace = 0) {
    return chunk("IHDR",
                 big(width, 4) + big(height, 4) + big(bits, 1) + big(colours, 1) + big(0, 2) + big(interlace, 1));
}
std::string png(const std::string& chunks) { return "\x89PNG\r\n\x1A\n" + chunks + chunk("IEND", ""); }

TEST(PNGHeader, ReadsWhatDescribesThePixels) {
    const auto file =
        png(ihdr(5, 7, 4, 3, 1) + chunk("gAMA", big(45455, 4)) + chunk("PLTE", "rgbRGB+") + chunk("tRNS", "\x80") +
            chunk("IDAT", "one") + chunk("tEXt", "x") + chunk("IDAT", "two") + chunk("PLTE", "late"));
    const auto header = readPNGHeader(bytesOf(file)).value();
    EXPECT_EQ(header.size, (Size{5, 7}));
    EXPECT_EQ(header.bits, 4u);
    EXPECT_EQ(header.colours, PNGColours::palette);
    EXPECT_TRUE(header.isInterlaced && header.hasAlpha() && header.isWhole);
    EXPECT_EQ(header.palette, "rgbRGB") << "whole colours only";
    EXPECT_EQ(header.gamma, 45455u);
    EXPECT_EQ(header.data, (std::vector<std::string_view>{"one", "two"}));
}

TEST(PNGHeader, DamageIsNoHeaderOrLess) {
    const struct {
        const char* why;
        std::string file;
        bool isHeader, isWhole;
    } rows[] = {
        {"as it should be", png(ihdr(1, 1, 8, 2)), true, true},
        {"three bits of grey", png(ihdr(1, 1, 3, 0)), false, false},
        {"a palette of 16 bits", png(ihdr(1, 1, 16, 3)), false, false},
        {"no such colours", png(ihdr(1, 1, 8, 5)), false, false},
        {"no such interlacing", png(ihdr(1, 1, 8, 2, 2)), false, false},
        {"something before the header", png(chunk("tEXt", "x") + ihdr(1, 1, 8, 2)), false, false},
        {"cut within the pixels", png(ihdr(1, 1, 8, 2) + chunk("IDAT", "pixels")).substr(0, 45), true, false},
        {"a length beyond everything", "\x89PNG\r\n\x1A\n" + ihdr(1, 1, 8, 2) + "\xFF\xFF\xFF\xF4IDAT", true, false},
    };
    for (const auto& row : rows) {
        const auto header = readPNGHeader(bytesOf(row.file));
        EXPECT_EQ(header.has_value(), row.isHeader) << row.why;
        EXPECT_EQ(header && header->isWhole, row.isWhole) << row.why;
    }
}

TEST(NaturalSize, OfTheOtherKinds) {
    const auto webp = [](const std::string& chunkOfPixels) {
        return "RIFF\0\0\0\0WEBP"s + chunkOfPixels + std::string(9, '\0');
    };
    const auto bmp = [](const std::string& header) {
        return "BM" + std::string(12, '\0') + header + std::string(9, '\0');
    };
    const struct {
        const char* why;
        std::string file;
        std::optional<Size> size;
    } rows[] = {
        {"GIF", "GIF89a\x3C\0\x28\0"s, Size{60, 40}},
        {"GIF of no size", "GIF89a\0\0\x28\0"s, std::nullopt},
        {"GIF cut short", "GIF89a\x3C\0\x28"s, std::nullopt},
        {"WebP with losses, with a scale", webp("VP8 \0\0\0\0\0\0\0\x9D\1*\x3C\x40\x28\0"s), Size{60, 40}},
        {"WebP without", webp("VP8L\0\0\0\0/\x3B\xC0\x09\0"s), Size{60, 40}},
        {"WebP with more", webp("VP8X\0\0\0\0\0\0\0\0\x3B\0\0\x27\0\0"s), Size{60, 40}},
        {"BMP", bmp(little(40, 4) + little(60, 4) + little(40, 4)), Size{60, 40}},
        {"BMP from top to bottom", bmp(little(40, 4) + little(60, 4) + little(0 - 40u, 4)), Size{60, 40}},
        {"BMP of old", bmp(little(12, 4) + little(60, 2) + little(40, 2)), Size{60, 40}},
        {"BMP without end", bmp(little(40, 4) + little(0xFFFFFFFF, 4) + little(40, 4)), std::nullopt},
    };
    for (const auto& row : rows) EXPECT_EQ(naturalSize(bytesOf(row.file)), row.size) << row.why;
}

TEST(ClaimedSize, IsWhatThePictureSaysWholeOrNot) {
    const auto ispe = [](unsigned width, unsigned height) {
        return box("ispe", big(0, 4) + big(width, 4) + big(height, 4));
    };
    const auto heif = [](const std::string& brand, const std::string& properties) {
        return box("ftyp", brand + big(0, 4)) + box("hdlr", "x") +
               box("meta", big(0, 4) + box("pitm", "") + box("iprp", box("ipco", properties))) + box("mdat", "pixels");
    };
    const auto jp2 = box("jP  ", "\r\n\x87\n") + box("jp2h", box("ihdr", big(40, 4) + big(60, 4) + "\0\3\7\7\0\0"s));
    const auto codestream =
        "\xFF\x4F\xFF\x51"s + big(41, 2) + big(0, 2) + big(70, 4) + big(45, 4) + big(10, 4) + big(5, 4);
    const struct {
        const char* why;
        std::string file;
        std::optional<Size> size;
    } rows[] = {
        {"the whole, not a tile", heif("heic", ispe(16, 16) + ispe(60, 40) + ispe(8, 8)), Size{60, 40}},
        {"turned upright", heif("heic", ispe(40, 60) + box("irot", "\1")), Size{60, 40}},
        {"on its head", heif("heic", ispe(60, 40) + box("irot", "\2")), Size{60, 40}},
        {"AVIF", heif("avif", ispe(60, 40)), Size{60, 40}},
        {"no size", heif("heic", ""), std::nullopt},
        {"a box with a length of 64 bits",
         box("ftyp", "heic") + big(1, 4) + "free" + big(17, 8) + "x" +
             box("meta", big(0, 4) + box("iprp", box("ipco", ispe(60, 40)))),
         Size{60, 40}},
        {"a box that is longer than the file",
         box("ftyp", "heic") + big(900, 4) + "meta" + big(0, 4) + box("iprp", box("ipco", ispe(60, 40))), Size{60, 40}},
        {"a box that has no end", box("ftyp", "heic") + big(3, 4) + "free", std::nullopt},
        {"JPEG 2000", jp2, Size{60, 40}},
        {"its codestream", codestream, Size{60, 40}},
        {"TIFF", tiff(1, 60, 40), Size{60, 40}},
        {"TIFF turned", tiff(6, 40, 60), Size{60, 40}},
        {"TIFF without its end", tiff(1, 60, 40).substr(0, 30), std::nullopt},
        {"PDF", pdf("", "-10 0 50 39.6"), Size{60, 40}},
        {"PDF of a million miles", pdf("", "0 0 1e9 40"), std::nullopt},
        {"none of these", jpeg(frame(sof0, 60, 40, 3)), std::nullopt},
    };
    for (const auto& row : rows) EXPECT_EQ(claimedSize(bytesOf(row.file)), row.size) << row.why;
    const auto whole = heif("avif", ispe(60, 40));
    EXPECT_FALSE(isCutShort(bytesOf(whole)));
    EXPECT_TRUE(isCutShort(bytesOf(whole.substr(0, whole.size() - 1))));
}

}   // namespace
}   // namespace ostrel::pictures
