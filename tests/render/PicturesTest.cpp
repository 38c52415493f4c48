#include "EmbeddedFiles.h"
#include "core/message/TransferEncoding.h"
#include "tests/pictures/SamplePictures.h"
#include "tests/render/Printing.h"

#include <cmath>

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

// How near two prints are, in dB: 10 log10 (255² / mean of squared differences); 99 if they are the same.
double nearness(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return 0;
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double difference = static_cast<unsigned char>(a[i]) - static_cast<unsigned char>(b[i]);
        sum += difference * difference;
    }
    return sum == 0 ? 99 : 10 * std::log10(255.0 * 255 * static_cast<double>(a.size()) / sum);
}

// A page whose styles ask for the text of addresses is printed as it is.
constexpr const char* printedByTheEngine = "<style>a[href='data:none'] { color: red }</style>";

class Originals : public Printing {
protected:
    // Prints the page without its pictures and with them, and sees that nobody can tell. placed: how many the engine
    // did not see.
    void expectAsTheEngineDraws(const std::string& html, std::size_t placed, const char* why, double least = 45) {
        const auto ours = print(html);
        EXPECT_EQ(renderer.lastReport().finished.picturesPlaced, placed) << why;
        const auto engines = print(html + printedByTheEngine);
        ASSERT_EQ(renderer.lastReport().finished.picturesPlaced, 0u) << why;
        EXPECT_GT(nearness(readPixels(ours), readPixels(engines)), least) << why;
        EXPECT_EQ(readText(ours), readText(engines)) << why;
    }
};

std::string addressOf(std::string_view bytes) {
    return "data:image/png;base64," + TransferEncoding::encodeBase64(bytesOf(bytes));
}

TEST_F(Originals, OfEveryKindLookAsTheEngineWouldDrawThem) {
    using namespace embedded;
    const auto turned = [](unsigned orientation) {
        const std::string photo(photo_jpg);
        return photo.substr(0, 2) + test::segment(0xE1, test::exif(orientation)) + photo.substr(2);
    };
    const struct {
        const char* why;
        std::string picture;
        bool isPlaced = true;
    } rows[] = {
        {"a photograph", std::string(photo_jpg)},
        {"mirrored", turned(2)},
        {"upside down", turned(3)},
        {"flipped", turned(4)},
        {"transposed", turned(5)},
        {"turned right", turned(6)},
        {"transversed", turned(7)},
        {"turned left", turned(8)},
        {"inks", std::string(inks_jpg)},
        {"cut short", std::string(photo_jpg.substr(0, photo_jpg.size() - 20))},
        {"cut in the middle", std::string(large_jpg.substr(0, large_jpg.size() * 2 / 3))},
        {"cut and turned", turned(6).substr(0, turned(6).size() - 20)},
        {"four greys", std::string(few_greys_png)},
        {"16 bits", std::string(deep_png)},
        {"interlaced", std::string(interlaced_png)},
        {"alpha", std::string(alpha_png)},
        {"a palette with a colour that is clear", std::string(clear_palette_png)},
        {"the first picture of many", std::string(moving_gif)},
        {"WebP", std::string(lossless_webp)},
    };
    for (const auto& row : rows)
        expectAsTheEngineDraws(
            "<body style='background:#ff0'><p>a<img style='width:150px' src='" + addressOf(row.picture) + "'>b",
            row.isPlaced ? 1 : 0, row.why);
}

TEST_F(Originals, StandWhereverThePageShowsThem) {
    const std::string large = addressOf(embedded::large_jpg), small = addressOf(embedded::photo_jpg);
    const auto img = [&](const std::string& style) { return "<p>a<img style='" + style + "' src='" + small + "'>b"; };
    const auto box = [&](const std::string& background) {
        return "<div style='width:200px;height:100px;background:" + background + "'>c</div>";
    };
    const auto url = "url(" + large + ")";
    // A cut runs through pixels of the sheet, which readers then blend. The engine's own cut is a whole number of the
    // picture's.
    constexpr double cut = 35;
    const struct {
        const char* why;
        std::string html;
        std::size_t placed;
        double least = 45;
    } rows[] = {
        {"in its own size", img(""), 1},
        {"stretched", img("width:200px;height:30px"), 1},
        {"cut", img("width:90px;height:90px;object-fit:cover"), 1},
        {"half seen through", img("width:80px;opacity:.5"), 1},
        {"turned", img("width:80px;transform:rotate(20deg)"), 1},
        {"with round corners", img("width:80px;border-radius:20px"), 1},
        {"blended", img("width:80px;mix-blend-mode:multiply"), 1},
        {"of twice the density", "<img srcset='" + small + " 2x'>", 0},
        {"in a drawing", "<svg width=90 height=90><image x=9 width=70 height=70 href='" + small + "'/></svg>", 0},
        {"a bullet", "<ul style='list-style-image:url(" + large + ")'><li>d</ul>", 1, cut},
        {"behind text", box(url + " 0 0/100% 100%"), 1},
        {"a part of many", box(url + " -50px -20px"), 1, cut},
        {"on two sheets", "<div style='height:950px'></div><img style='height:400px' src='" + large + "'>", 1},
        {"not shown", "<p>e</p><div style='display:none'><img src='" + small + "'></div>", 1},
        {"over and over", box(url + " 0 0/30px 20px"), 0},
        {"small, over and over", box("url(" + small + ")"), 0},
        {"filtered", img("width:80px;filter:invert(1)"), 0},
        {"filtered in disguise", img("width:80px;filt\\65r:invert(1)"), 0},
        {"one of two filtered", img("filter:invert(1)") + "<img src='" + large + "'>", 1},
        {"filtered beyond", "<div style='filter:grayscale(1)'>" + box(url) + "</div>", 0},
        {"a frame", "<div style='border:9px solid;border-image:url(" + large + ") 9;width:99px'>f</div>", 0},
        {"a mask", "<div style='-webkit-mask-image:url(" + large + ");background:red'>g</div>", 0},
        {"what text keeps off", "<div style='float:left;width:99px;height:99px;shape-outside:" + url + "'></div>h", 0},
        {"not turned", img("image-orientation:none"), 0},
        {"in a pattern",
         "<svg width=90 height=90><pattern id=p width=9 height=9><image width=9 height=9 href='" + small +
             "'/></pattern><rect width=90 height=90 fill='url(#p)'/></svg>",
         0},
        {"in what is clipped", "<div style='clip-path:circle(20px)'>" + img("") + "</div>", 0},
        {"read as text", "<p>" + small + "</p>", 0},
        {"read by a style", "<style>p::after{content:attr(title)}</style><p title='" + small + "'>i</p>", 0},
        {"a drawing that looks like ours",
         img("") + "<img src='data:image/svg+xml,%3Csvg%20xmlns=%22http://www.w3.org/2000/svg%22%20preserveAspectRatio="
                   "%22none%22%20width=%229%22%20height=%229%22%20viewBox=%220%200%209%209%22%3E%3Crect%20width=%229%22"
                   "%20height=%229%22%20fill=%22%23123456%22/%3E%3C/svg%3E' style='filter:invert(1)'>",
         1},
    };
    for (const auto& row : rows) expectAsTheEngineDraws(row.html, row.placed, row.why, row.least);
}

TEST_F(Originals, StandOnceInAFileHoweverManyThereAre) {
    std::string html;
    for (int i = 0; i < 300; ++i) {
        const auto photo = std::string(embedded::photo_jpg) + std::to_string(i % 150);
        html += "<img src='" + addressOf(photo) + "'>";
    }
    const auto pdf = print(html);
    EXPECT_EQ(renderer.lastReport().finished.picturesPlaced, 150u);
    EXPECT_EQ(countImages(pdf), 300u);
    EXPECT_LT(std::filesystem::file_size(pdf), 150 * (embedded::photo_jpg.size() + 200) + 20'000);
}

}   // namespace
}   // namespace ostrel
