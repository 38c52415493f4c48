#include "app/ForeignPictures.h"
#include "core/message/TransferEncoding.h"
#include "tests/pictures/SamplePictures.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace std::string_literals;

std::string uri(const std::string& type, const std::string& bytes) {
    return "data:" + type + ";base64," + TransferEncoding::encodeBase64(bytesOf(bytes));
}

const std::string gif = "GIF89a...";

Page pageOf(const std::string& tiffUri) {
    return makePage("<p>a<img src=\"" + tiffUri + "\">b<img src='" + uri("image/gif", gif) +
                    "'>c<i style=\"background:url(" + tiffUri + ")\">d</i>");
}

// The page that a new one must be, of the same pictures at other addresses.
void expectWhole(const Page& page) {
    const Page again = makePage(wholeHTML(page));
    ASSERT_EQ(again.pictures.size(), page.pictures.size()) << page.html;
    for (std::size_t i = 0; i < again.pictures.size(); ++i) {
        EXPECT_EQ(again.pictures[i].bytes, page.pictures[i].bytes) << i;
        EXPECT_EQ(again.pictures[i].mediaType, page.pictures[i].mediaType) << i;
        for (const auto& [begin, size, isOpen] : page.pictures[i].addresses)
            EXPECT_EQ(page.html.substr(begin, 5), "data:") << i;
    }
}

TEST(ForeignPictures, BecomeWhatTheEngineShowsWhereverTheyStand) {
    ForeignPictures foreign;
    // Whatever type the sender wrote.
    for (const char* const type : {"image/tiff", "image/jpeg"}) {
        const auto page = pageOf(uri(type, test::tiff()));
        const auto shown = foreign.shown(page);
        ASSERT_TRUE(shown) << type;
        expectWhole(*shown);
        EXPECT_TRUE(shown->pictures[0].bytes.chars().starts_with("\x89PNG")) << type;
        EXPECT_EQ(shown->pictures[0].mediaType, "image/png") << type;
        EXPECT_EQ(shown->pictures[0].addresses.size(), 2u) << type;
        EXPECT_EQ(shown->pictures[1].bytes.chars(), gif) << type;
        EXPECT_EQ(shown->text, page.text) << type;
    }
    const auto drawn = foreign.shown(pageOf(uri("image/pdf", test::pdf())));
    ASSERT_TRUE(drawn);
    EXPECT_EQ(drawn->pictures[0].mediaType, "image/svg+xml");
    EXPECT_EQ(foreign.shown(pageOf(uri("image/tiff", gif))), std::nullopt) << "nothing to be done";
}

std::string png(unsigned width, unsigned height) {
    return "\x89PNG\r\n\x1A\n" + test::chunk("IHDR", test::big(width, 4) + test::big(height, 4) + "\x08\x02\0\0\0"s);
}

std::string jpeg(unsigned width, unsigned height) {
    const auto frame = "\x08"s + test::big(height, 2) + test::big(width, 2) + "\1\1\x11\0"s;
    return "\xFF\xD8" + test::segment(0xC0, frame) + test::segment(0xDA, "\1\1\0\0\x3F\0"s);
}

std::string ispe(unsigned width, unsigned height) {
    return test::box("ispe", test::big(0, 4) + test::big(width, 4) + test::big(height, 4));
}

TEST(ForeignPictures, ThatCannotBeShownLeaveABoxThatSaysSo) {
    ForeignPictures foreign, without(std::make_shared<pictures::Decoder>("/nowhere/at/all"));
    const struct {
        const char* why;
        ForeignPictures& with;
        std::string picture;
        const char *said, *size;
    } rows[] = {
        {"cut short", foreign, test::tiff().substr(0, 12), "TIFF picture cannot be shown: it is damaged",
         "width=\"520\" height=\"64\""},
        {"larger than anything", foreign, test::tiff(1, 60'000, 60'000),
         "TIFF picture cannot be shown: it is too large", ""},
        {"no program", without, test::pdf(), "PDF picture cannot be shown: the program", ""},
        {"no engine could", foreign, png(60'000, 30'000), "PNG picture cannot be shown: it is too large",
         "width=\"4096\" height=\"2048\""},
        {"no engine would", foreign, jpeg(50'000, 50'000), "JPEG picture cannot be shown: it is too large", ""},
        {"cut where the engine says nothing", foreign,
         test::box("ftyp", "avif") +
             test::box("meta", test::big(0, 4) + test::box("iprp", test::box("ipco", ispe(600, 400)))) +
             test::big(99, 4) + "mdat...",
         "AVIF picture cannot be shown: it is damaged", "width=\"600\" height=\"400\""},
        {"without a size", foreign, png(0, 9), "PNG picture cannot be shown: it is damaged", ""},
    };
    for (const auto& row : rows) {
        auto page = pageOf(uri("image/tiff", row.picture));
        const auto unnamed = row.with.shown(page);
        ASSERT_TRUE(unnamed) << row.why;
        expectWhole(*unnamed);
        page.pictures[0].name = "a<b.heic";
        const auto box = std::string(row.with.shown(page).value().pictures[0].bytes.chars());
        for (const char* const words : {row.said, row.size, "a&lt;b.heic"})
            EXPECT_NE(box.find(words), std::string::npos) << row.why << ": " << box;
    }
    // Larger photographs exist, and are decoded to the size in which they are shown.
    EXPECT_EQ(foreign.shown(pageOf(uri("image/jpeg", jpeg(16'320, 12'240)))), std::nullopt);
}

}   // namespace
}   // namespace ostrel
