#include "pdf/images/JPEG.h"
#include "tests/pdf/SamplePDF.h"

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

using test::JPEGKind;
using test::photograph;

TEST(JPEG, OnlyExactlyTheSamePixelsCount) {
    const auto photo = photograph(37, 21), smooth = photograph(37, 21, JPEGKind::progressive);
    auto oneOff = photo.pixels;
    oneOff.back() = static_cast<char>(oneOff.back() ^ 1);
    auto damaged = photo.jpeg;
    damaged.replace(damaged.size() / 2, 8, "\xFF\xD9zzzzzz");
    const struct {
        const char* why;
        std::string file, pixels;
        bool same;
    } rows[] = {
        {"baseline", photo.jpeg, photo.pixels, true},
        {"progressive", smooth.jpeg, smooth.pixels, true},
        {"without its metadata", jpeg::withoutMetadata(photo.jpeg), photo.pixels, true},
        {"one bit of one pixel", photo.jpeg, oneOff, false},
        {"fewer rows", photo.jpeg, photo.pixels.substr(37 * 3), false},
        {"an end within the picture", damaged, photo.pixels, false},
        {"no JPEG", "\xFF\xD8\xFF", photo.pixels, false},
        {"nothing", "", "", false},
    };
    for (const auto& row : rows) EXPECT_EQ(jpeg::decodedPixels(row.file) == row.pixels, row.same) << row.why;
    EXPECT_FALSE(jpeg::size(photograph(8, 8, JPEGKind::gray).jpeg)) << "gray: viewers disagree about what gray is";
    for (std::size_t cut = 0; cut < photo.jpeg.size() - 2; cut += 7)
        EXPECT_FALSE(jpeg::decodedPixels(photo.jpeg.substr(0, cut))) << "cut at " << cut;
}

TEST(JPEG, MetadataGoAndNothingElse) {
    const auto photo = photograph(16, 16);
    const auto bare = jpeg::withoutMetadata(photo.jpeg);
    EXPECT_NE(photo.jpeg.find("Exif"), std::string::npos);
    EXPECT_EQ(bare.find("Exif"), std::string::npos);
    EXPECT_EQ(jpeg::withoutMetadata(bare), bare);
    const std::string odd = std::string("\xFF\xD8\xFF\xD0\0\x04--", 8) + photo.jpeg.substr(2);
    EXPECT_EQ(jpeg::withoutMetadata(odd), odd) << "a marker that has no length";
    for (std::size_t cut = 0; cut < bare.size(); ++cut) {   // whatever it makes of a broken one, it makes something
        const auto broken = photo.jpeg.substr(0, cut);
        EXPECT_LE(jpeg::withoutMetadata(broken).size(), broken.size());
    }
}

}   // namespace
}   // namespace ostrel::pdf
