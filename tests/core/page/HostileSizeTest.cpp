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
    const auto page = MessageHTML::page(message, "", "", std::nullopt, {});
    EXPECT_EQ(page.find("<a href=\"http"), page.rfind("<a href=\"http")) << "one address, to its last slash";
}

// A head gives way to all style sheets, so many heads beside a large sheet would make a page of terabytes.
TEST(HostileSizes, StyleSheetsAreNotRepeatedWithoutLimit) {
    std::string html = "<style>" + std::string(1'000'000, 'x') + "</style>";
    for (int i = 0; i < 100'000; ++i) html += "<head></head>";
    EXPECT_LT(MessageHTML::sanitize(html, {}).html.size(), 80'000'000U);
}

}   // namespace
}   // namespace ostrel
