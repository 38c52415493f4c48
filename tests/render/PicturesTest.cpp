#include "EmbeddedFiles.h"
#include "core/message/TransferEncoding.h"
#include "tests/pictures/SamplePictures.h"
#include "tests/render/Printing.h"

namespace ostrel {
namespace {

// Whatever type the sender wrote.
std::string imgOf(std::string_view bytes) {
    return "<img style='width:150px;height:100px' src='data:image/png;base64," +
           TransferEncoding::encodeBase64(bytesOf(bytes)) + "'>";
}

struct Painted {
    int red = 0, blue = 0;   // pixels
};

// "P6", width, height, 255, then the pixels of the first sheet
Painted paintedOn(const std::filesystem::path& pdf) {
    const std::string file = readPixels(pdf);
    Painted painted;
    for (std::size_t at = file.find("255\n") + 4; at + 3 <= file.size(); at += 3) {
        const auto channel = [&](std::size_t i) { return static_cast<unsigned char>(file[at + i]); };
        painted.red += channel(0) > 200 && channel(1) < 60 && channel(2) < 60;
        painted.blue += channel(0) < 60 && channel(1) < 60 && channel(2) > 200;
    }
    return painted;
}

// Each is red on its left and blue on its right.
TEST_F(Printing, ShowsPicturesThatOnlyAMacShows) {
    const auto drawing = test::pdf("1 0 0 rg 0 0 15 20 re f 0 0 1 rg 15 0 15 20 re f");
    const struct {
        const char* why;
        std::string picture;
    } rows[] = {
        {"HEIC", std::string(embedded::red_and_blue_heic)},
        {"TIFF", test::tiff()},
        {"JPEG 2000", std::string(embedded::red_and_blue_jp2)},
        {"PDF", drawing},
    };
    // 150 by 100 CSS pixels are 120 by 80 points, and 100 by 67 of the pixels looked at; between the halves of the
    // smallest the engine may blend.
    constexpr int aThirdOfIt = 100 * 67 / 3;
    for (const auto& row : rows) {
        const auto painted = paintedOn(print(imgOf(row.picture)));
        EXPECT_GT(painted.red, aThirdOfIt) << row.why;
        EXPECT_GT(painted.blue, aThirdOfIt) << row.why;
    }
    const auto text = readText(print("<p>before</p>" + imgOf(test::tiff().substr(0, 12)) + "<p>after</p>"));
    for (const char* const words : {"before", "TIFF picture cannot be shown", "after"})
        EXPECT_NE(text.find(words), std::string::npos) << words << " in " << text;
}

}   // namespace
}   // namespace ostrel
