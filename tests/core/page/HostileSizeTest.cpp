#include "core/page/MessageHTML.h"

#include <ostream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

// What makes a backtracking engine, or a matcher that looks ahead again and again, take time with the square of the
// size. Eight megabytes of it take a moment, or else hours: then the test runner's limit ends the test.
enum class Units { stay, go };

struct Hostile {
    const char* name;
    std::string_view prefix, unit, suffix;
    std::string_view remains;   // of prefix and suffix
    Units units;
};

void PrintTo(const Hostile& hostile, std::ostream* out) { *out << hostile.name; }

constexpr Hostile texts[] = {
    {"OpeningsWithoutEnd", "", "<script", "", "", Units::stay},
    {"ElementsWithoutEnd", "", "<style>", "", "", Units::stay},
    {"ClosingsWithoutEnd", "<p>", "</style \n", "", "<p>", Units::stay},
    {"ElementBeforeClosingsWithoutEnd", "<script>", "</script  ", "", "", Units::stay},
    {"ImagesWithoutEnd", "", "<img ", "", "", Units::stay},
    {"LessThanSigns", "", "<", "", "", Units::stay},
    {"WhiteSpace", "", " \u3000", "", "", Units::stay},
    {"EventsWithoutValue", "", " onaaaa", "", "", Units::stay},
    {"EventsBeforeTagEnd", "", " onx=  >", "", "", Units::stay},
    {"Quotes", "", " onx=\"", "", "", Units::go},
    {"FetchingQuotes", "", " poster='", " ", " ", Units::go},
    {"SpacesAfterSigns", "", "=      ", "", "", Units::stay},
    {"UnclosedScriptURLs", "", "href=\"javascript:'", "", "", Units::stay},
    {"UnclosedURLs", "", "url( http:", "", "", Units::stay},
    {"SourcesInOneTag", "<p><img src=\"\"", " src=\"a", ">", "<p>", Units::go},
    {"SizesInOneTag", "<p><img src=\"\"", " width='x", ">", "<p>", Units::go},
};

class HostileSize : public testing::TestWithParam<Hostile> {};

TEST_P(HostileSize, IsReadInOneGo) {
    const auto& hostile = GetParam();
    std::string units;
    while (units.size() < 8'000'000) units += hostile.unit;
    const auto html = std::string(hostile.prefix) + units + std::string(hostile.suffix);
    const auto expected = std::string(hostile.remains) + (hostile.units == Units::stay ? units : "");
    EXPECT_TRUE(MessageHTML::sanitize(html, {}).html == expected);
}

INSTANTIATE_TEST_SUITE_P(Texts, HostileSize, testing::ValuesIn(texts),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(HostileSizes, LinksAreFoundInOneGo) {
    MailMessage message;
    message.textBody.emplace("x");
    while (message.textBody->size() < 8'000'000) *message.textBody += "http://...";
    const auto page = MessageHTML::page(message, "", "", std::nullopt, {}).html;
    EXPECT_EQ(page.find("<a href=\"http"), page.rfind("<a href=\"http")) << "one address, to its last slash";
}

// What stands within the limits is shown as ever; beyond them the page ends, and says so.
TEST(HostileSizes, APageHoldsSoMuchTextAndNoMore) {
    const auto text = [](std::size_t size) { return std::string(size - 1, 'x') + "y"; };
    const std::string image =
        "<img src=\"data:image/png;base64," + std::string(2 * MessageHTML::textLimitBytes, 'A') + "\">";
    constexpr auto textLimit = MessageHTML::textLimitBytes, lineLimit = MessageHTML::lineLimitBytes;
    const auto with = [](auto change) {
        MailMessage message;
        message.subject = "Subject";
        message.textBody = "text";
        change(message);
        return message;
    };
    const struct {
        const char* why;
        MailMessage message;
        bool isCut;
        const char* end;   // of what is there
    } rows[] = {
        {"plain text", with([&](auto& m) { m.textBody = text(textLimit); }), false, "xxy</div>"},
        {"more plain text", with([&](auto& m) { m.textBody = text(textLimit + 1); }), true, "xxx</div>"},
        {"no half characters", with([&](auto& m) { m.textBody = text(textLimit - 1) + "é"; }), true, "xxy</div>"},
        {"HTML", with([&](auto& m) { m.htmlBody = text(textLimit); }), false, "xxy</div>"},
        {"more HTML", with([&](auto& m) { m.htmlBody = text(textLimit + 1); }), true, "xxx</div>"},
        {"images are no text", with([&](auto& m) { m.htmlBody = "a" + image + "b" + image + "c"; }), false,
         "\">c</div>"},
        {"text between images is", with([&](auto& m) { m.htmlBody = text(textLimit / 2) + image + text(textLimit); }),
         true, "xxx</div>"},
        {"a subject", with([&](auto& m) { m.subject = text(lineLimit); }), false, "xxy</h1>"},
        {"a longer subject", with([&](auto& m) { m.subject = text(lineLimit + 1); }), true, "xxx</h1>"},
        {"names of files", with([&](auto& m) {
             m.attachments.assign(9, {text(lineLimit), "a/b", {}, "1", MailAttachment::Missing{}});
         }),
         true, "xxy <span class=\"size\">(not downloaded by Mail)</span></li></ul></section>"},
        {"parts that were left out", with([&](auto& m) { m.problems = {problem::tooManyParts}; }), true, ""},
    };
    const PageLabels labels;
    for (const auto& row : rows) {
        const auto page = MessageHTML::page(row.message, "", "", std::nullopt, labels).html;
        EXPECT_EQ(page.find(labels.tooLarge) != page.npos, row.isCut) << row.why;
        EXPECT_NE(page.find(row.end), page.npos) << row.why;
    }
}

// A head gives way to all style sheets, so many heads beside a large sheet would make a page of terabytes.
TEST(HostileSizes, StyleSheetsAreNotRepeatedWithoutLimit) {
    std::string html = "<style>" + std::string(1'000'000, 'x') + "</style>";
    for (int i = 0; i < 100'000; ++i) html += "<head></head>";
    EXPECT_LT(MessageHTML::sanitize(html, {}).html.size(), 80'000'000U);
}

}   // namespace
}   // namespace ostrel
