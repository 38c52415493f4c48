#include "EmbeddedFiles.h"
#include "pictures/Decoder.h"
#include "tests/pictures/SamplePictures.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <utility>

#include <gtest/gtest.h>
#include <jpeglib.h>
#include <png.h>

namespace ostrel::pictures {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using namespace test;

using Colour = std::array<int, 4>;   // RGB and alpha
constexpr Colour red{255, 0, 0, 255}, blue{0, 0, 255, 255};

struct Shown {
    Size size;
    std::string pixels;   // RGB and alpha
    Colour at(std::uint32_t x, std::uint32_t y) const {
        Colour colour{};
        for (std::size_t i = 0; i < colour.size(); ++i)
            colour[i] = static_cast<unsigned char>(pixels.at((std::size_t{y} * size.width + x) * 4 + i));
        return colour;
    }
};

Shown shownPNG(const std::string& file) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_memory(&image, file.data(), file.size()), 0) << image.message;
    image.format = PNG_FORMAT_RGBA;
    Shown shown{{image.width, image.height}, std::string(PNG_IMAGE_SIZE(image), '\0')};
    EXPECT_NE(png_image_finish_read(&image, nullptr, shown.pixels.data(), 0, nullptr), 0) << image.message;
    return shown;
}

Shown shownJPEG(const std::string& file) {
    jpeg_decompress_struct state{};
    jpeg_error_mgr errors{};
    state.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&state);
    jpeg_mem_src(&state, reinterpret_cast<const unsigned char*>(file.data()), file.size());
    jpeg_read_header(&state, TRUE);
    state.out_color_space = JCS_EXT_RGBA;
    jpeg_start_decompress(&state);
    Shown shown{{state.output_width, state.output_height}, {}};
    std::string row(std::size_t{state.output_width} * 4, '\0');
    while (state.output_scanline < state.output_height) {
        auto* start = reinterpret_cast<JSAMPROW>(row.data());
        jpeg_read_scanlines(&state, &start, 1);
        shown.pixels += row;
    }
    jpeg_destroy_decompress(&state);
    return shown;
}

Shown shown(const Decoded& decoded) {
    return decoded.kind == Kind::jpeg ? shownJPEG(decoded.file) : shownPNG(decoded.file);
}

void expectNear(const Colour& colour, const Colour& expected, const std::string& why) {
    for (std::size_t i = 0; i < colour.size(); ++i) EXPECT_NEAR(colour[i], expected[i], 6) << why << ", channel " << i;
}

// A picture of RGB and alpha.
std::string png(Size size, const std::string& pixels) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = size.width;
    image.height = size.height;
    image.format = PNG_FORMAT_RGBA;
    std::string file(PNG_IMAGE_PNG_SIZE_MAX(image), '\0');
    png_alloc_size_t bytes = file.size();
    EXPECT_NE(png_image_write_to_memory(&image, file.data(), &bytes, 0, pixels.data(), 0, nullptr), 0);
    file.resize(bytes);
    return file;
}

std::string heic() { return std::string(embedded::red_and_blue_heic); }
std::string jpeg2000() { return std::string(embedded::red_and_blue_jp2); }

class DecoderTest : public testing::Test {
protected:
    Decoded decoded(const std::string& picture, const std::string& why, Decoder::Alpha alpha = Decoder::Alpha::within) {
        auto result = decoder.decode(bytesOf(picture), alpha);
        if (auto* const made = std::get_if<Decoded>(&result)) return std::move(*made);
        ADD_FAILURE() << why << ": " << static_cast<int>(std::get<NotDecoded>(result));
        return {};
    }
    static std::optional<NotDecoded> failure(Decoder& with, const std::string& picture) {
        const auto result = with.decode(bytesOf(picture));
        const auto* const failed = std::get_if<NotDecoded>(&result);
        return failed ? std::optional(*failed) : std::nullopt;
    }
    static Decoder withIntruder(const std::string& intention, DecoderPatience patience = {}) {
        return Decoder(Decoder::installedProgram(), {"LD_PRELOAD=" INTRUDER_LIBRARY, "OSTREL_INTRUDER=" + intention},
                       patience);
    }

    Decoder decoder;
};

TEST_F(DecoderTest, ForeignPicturesKeepTheirColours) {
    const struct {
        const char* why;
        std::string picture;
        Kind kind;
    } rows[] = {{"HEIC", heic(), Kind::jpeg}, {"JPEG 2000", jpeg2000(), Kind::png}};
    for (const auto& row : rows) {
        const auto made = decoded(row.picture, row.why);
        ASSERT_EQ(made.kind, row.kind) << row.why;
        EXPECT_EQ(made.size, (Size{24, 16})) << row.why;
        expectNear(shown(made).at(2, 8), red, row.why);
        expectNear(shown(made).at(21, 8), blue, row.why);
    }
}

// Stored red and blue in one row; where the two are once they are upright.
TEST_F(DecoderTest, TIFFsAreTurnedUpright) {
    const struct {
        unsigned orientation;
        Size size;
        Colour first;
    } rows[] = {{1, {2, 1}, red}, {2, {2, 1}, blue}, {3, {2, 1}, blue}, {4, {2, 1}, red}, {5, {1, 2}, red},
                {6, {1, 2}, red}, {7, {1, 2}, blue}, {8, {1, 2}, blue}, {9, {2, 1}, red}};
    for (const auto& row : rows) {
        const auto why = "orientation " + std::to_string(row.orientation);
        const auto made = decoded(tiff(row.orientation), why);
        EXPECT_EQ(made.size, row.size) << why;
        EXPECT_EQ(shown(made).at(0, 0), row.first) << why;
        EXPECT_EQ(shown(made).at(row.size.width - 1, row.size.height - 1), row.first == red ? blue : red) << why;
    }
}

TEST_F(DecoderTest, AlphaComesWithinOrApart) {
    const std::string pixels = "\x10\x20\x30\xFF\x40\x50\x60\x80"s, opaque = "\x10\x20\x30\xFF\x40\x50\x60\xFF"s;
    const auto within = decoded(png({2, 1}, pixels), "within");
    EXPECT_EQ(shown(within).at(1, 0), (Colour{0x40, 0x50, 0x60, 0x80}));
    EXPECT_TRUE(within.mask.empty());
    const auto apart = decoded(png({2, 1}, pixels), "apart", Decoder::Alpha::apart);
    EXPECT_EQ(shown(apart).at(1, 0), (Colour{0x40, 0x50, 0x60, 0xFF}));
    EXPECT_EQ(shownPNG(apart.mask).at(1, 0), (Colour{0x80, 0x80, 0x80, 0xFF}));
    EXPECT_TRUE(decoded(png({2, 1}, opaque), "opaque", Decoder::Alpha::apart).mask.empty());
}

// Their rows are taken apart as they are packed, with all kinds of filters.
TEST_F(DecoderTest, LargePNGsKeepEveryPixelAndItsAlpha) {
    const Size size{1200, 1000};
    for (const bool isOpaque : {false, true}) {
        std::string pixels, colours, alpha;
        for (unsigned i = 0; i < size.width * size.height; ++i) {
            const unsigned x = i % size.width, y = i / size.width;
            // Rows that are smooth, alike, noisy and of one colour, for each of which another filter is best.
            const unsigned noise = (i * 2654435761u) >> 24;
            const unsigned value = y / 50 % 4 == 0 ? x : y / 50 % 4 == 1 ? y : y / 50 % 4 == 2 ? noise : 7 * y / 50;
            for (const unsigned channel : {value, value / 2 + noise / 64, x + y})
                colours += static_cast<char>(channel & 0xFF);
            alpha += static_cast<char>(isOpaque ? 0xFF : (x * y / 100) & 0xFF);
            pixels.append(colours, colours.size() - 3).push_back(alpha.back());
        }
        const auto apart = decoded(png(size, pixels), "large", Decoder::Alpha::apart);
        const auto shownColours = shownPNG(apart.file).pixels;
        ASSERT_EQ(shownColours.size(), pixels.size());
        bool areColoursSame = true;
        for (std::size_t i = 0; i < pixels.size(); ++i)
            areColoursSame = areColoursSame && (i % 4 == 3 || shownColours[i] == pixels[i]);
        EXPECT_TRUE(areColoursSame) << isOpaque;
        ASSERT_EQ(apart.mask.empty(), isOpaque);
        if (isOpaque) continue;
        const auto shownAlpha = shownPNG(apart.mask).pixels;
        bool isAlphaSame = true;
        for (std::size_t i = 0; i < alpha.size(); ++i) isAlphaSame = isAlphaSame && shownAlpha[4 * i] == alpha[i];
        EXPECT_TRUE(isAlphaSame);
    }
}

TEST_F(DecoderTest, PDFsAreDrawnWithTheirWords) {
    const auto made = decoded(pdf(), "PDF");
    EXPECT_EQ(made.kind, Kind::svg);
    EXPECT_EQ(made.size, (Size{30, 20}));
    EXPECT_NE(made.file.find("rgb(100%"), std::string::npos) << made.file;
    // The font is not in the PDF: it comes from the system, and was opened before the wall was closed.
    EXPECT_NE(made.file.find("glyph"), std::string::npos) << made.file;
}

TEST_F(DecoderTest, DamageCostsThePictureOnly) {
    const auto tall = png({1, 1}, "\1\2\3\xFF");
    auto huge = tall;
    huge.replace(16, 8, big(60'000, 4) + big(60'000, 4));
    auto hugeJPEG2000 = jpeg2000();   // in the codestream's own header
    hugeJPEG2000.replace(hugeJPEG2000.find(big(24, 4) + big(16, 4)), 8, big(60'000, 4) + big(60'000, 4));
    auto hugeHEIC = heic();
    hugeHEIC.replace(hugeHEIC.find("ispe") + 8, 8, big(60'000, 4) + big(60'000, 4));
    const struct {
        const char* why;
        std::string picture;
    } rows[] = {
        {"a PNG of 60,000 by 60,000", huge},
        {"a TIFF of 60,000 by 60,000", tiff(1, 60'000, 60'000)},
        {"a JPEG 2000 of 60,000 by 60,000", hugeJPEG2000},
        {"a HEIC of 60,000 by 60,000", hugeHEIC},
        {"a PDF of 60,000 by 60,000", pdf("", "0 0 60000 60000")},
        {"a JPEG of nothing", "\xFF\xD8\xFF\xE0"},
        {"nothing", ""},
    };
    const auto isItsOwnFault = [](std::optional<NotDecoded> why) {
        return why == NotDecoded::damaged || why == NotDecoded::tooLarge;
    };
    for (const auto& row : rows) EXPECT_TRUE(isItsOwnFault(failure(decoder, row.picture))) << row.why;
    for (const auto& whole : {heic(), jpeg2000(), tiff(), tall, pdf()}) {
        for (std::size_t cut = 0; cut < whole.size(); cut += 1 + whole.size() / 25) {
            const auto why = failure(decoder, whole.substr(0, cut));
            EXPECT_TRUE(!why || isItsOwnFault(why)) << whole.size() << " cut at " << cut;
        }
    }
}

TEST_F(DecoderTest, WhatWasCutShortIsShownAsFarAsItGoes) {
    for (const auto& whole : {std::string(embedded::noise_gif), std::string(embedded::noise_webp)}) {
        const auto all = shown(decoded(whole, "whole"));
        bool isPart = false;   // of any cut: its first row is there, its last is not
        for (std::size_t cut = whole.size() / 10; cut < whole.size(); cut += 1 + whole.size() / 50) {
            const auto result = decoder.decode(bytesOf(whole.substr(0, cut)));
            const auto* const made = std::get_if<Decoded>(&result);
            if (!made) continue;
            ASSERT_EQ(made->size, all.size) << cut;
            const auto part = shown(*made);
            expectNear(part.at(0, 0), all.at(0, 0), std::to_string(whole.size()) + " cut at " + std::to_string(cut));
            const auto last = all.size.height - 1;
            isPart = isPart || (part.at(0, last)[3] == 0 && all.at(0, last)[3] != 0);
        }
        EXPECT_TRUE(isPart) << whole.size();
    }
}

// The same code, before the wall is closed and behind it.
TEST_F(DecoderTest, CodeOfAnIntruderReachesNothing) {
    auto with = withIntruder("calls");
    const auto result = with.decode(bytesOf(tiff()));
    ASSERT_TRUE(std::holds_alternative<Decoded>(result));
    const auto& doors = std::get<Decoded>(result).file;
    for (const char* const door :
         {"open", "create", "list", "look", "local socket", "internet socket", "program", "signal", "runnable memory"})
        EXPECT_LT(doors.find(" "s + door + ","), doors.find("now: ")) << door << " would not be noticed: " << doors;
    EXPECT_NE(doors.find("now: </svg>"), std::string::npos) << doors;

    auto twin = withIntruder("twin");
    EXPECT_EQ(std::get<Decoded>(twin.decode(bytesOf(tiff()))).file, "<svg>alone</svg>");
}

TEST_F(DecoderTest, APictureThatEndsTheProgramCostsItself) {
    const struct {
        const char* intention;
        DecoderPatience patience;
        NotDecoded why;
    } rows[] = {
        {"crash", {}, NotDecoded::crashed},
        {"lies", {}, NotDecoded::crashed},
        {"endless", {.base = 300ms}, NotDecoded::tooLong},
        {"memory", {.base = 30s, .most = 30s}, NotDecoded::tooLarge},
    };
    for (const auto& row : rows) {
        auto with = withIntruder(row.intention, row.patience);
        EXPECT_EQ(failure(with, tiff()), row.why) << row.intention;
        EXPECT_EQ(failure(with, jpeg2000()), std::nullopt) << "after " << row.intention;
    }
}

TEST_F(DecoderTest, WithoutTheProgramNothingIsDecoded) {
    Decoder with("/nowhere/at/all");
    EXPECT_EQ(failure(with, jpeg2000()), NotDecoded::unavailable);
}

}   // namespace
}   // namespace ostrel::pictures
