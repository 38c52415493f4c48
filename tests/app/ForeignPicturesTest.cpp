#include "app/ForeignPictures.h"
#include "core/message/TransferEncoding.h"
#include "tests/pictures/SamplePictures.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

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
    const Page again = makePage(page.html);
    ASSERT_EQ(again.pictures.size(), page.pictures.size()) << page.html;
    for (std::size_t i = 0; i < again.pictures.size(); ++i) EXPECT_EQ(again.pictures[i], page.pictures[i]) << i;
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

TEST(ForeignPictures, ThatCannotBeDecodedLeaveABoxThatSaysSo) {
    ForeignPictures foreign, without(std::make_shared<pictures::Decoder>("/nowhere/at/all"));
    const struct {
        const char* why;
        ForeignPictures& with;
        std::string picture;
        const char* said;
    } rows[] = {
        {"cut short", foreign, test::tiff().substr(0, 12), "TIFF picture cannot be shown: it is damaged"},
        {"larger than anything", foreign, test::tiff(1, 60'000, 60'000),
         "TIFF picture cannot be shown: it is too large"},
        {"no program", without, test::pdf(), "PDF picture cannot be shown: the program"},
    };
    for (const auto& row : rows) {
        const auto shown = row.with.shown(pageOf(uri("image/tiff", row.picture)));
        ASSERT_TRUE(shown) << row.why;
        expectWhole(*shown);
        EXPECT_NE(shown->pictures[0].bytes.chars().find(row.said), std::string::npos)
            << shown->pictures[0].bytes.chars();
    }
}

}   // namespace
}   // namespace ostrel
