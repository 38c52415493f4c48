#include "render/print/PageMeasures.h"

#include <string>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

const pdf::LinkMark plain{255, "https://example.com/"};
const pdf::LinkMark placed{0xFFFFFF, "mailto:a@example.com", pdf::PartOfBox{0, 0.25, 1, 0.5, 1.75}};

TEST(PageMeasures, AreTakenWholeOrNotAtAll) {
    const std::string link = R"({"colour":255,"url":"https://example.com/"})";
    const std::string part = R"({"colour":16777215,"url":"mailto:a@example.com","part":[0,0.25,1,0.5,1.75]})";
    const auto with = [](const std::string& links) { return R"({"width":640.5,"links":[)" + links + "]}"; };
    const auto listed = [](const std::string& list) { return R"({"width":1,"links":[],"listing":[)" + list + "]}"; };
    using Node = pdf::ListedNode;
    const struct {
        const char* why;
        std::string answer;
        std::optional<PageMeasures> expected;
    } rows[] = {
        {"no links", with(""), PageMeasures{640.5, {}}},
        {"links in their order", with(part + ',' + link), PageMeasures{640.5, {placed, plain}}},
        {"an address with quotes, a line and a NUL", with(R"({"colour":1,"url":"https://a/\"\n\u0000b"})"),
         PageMeasures{640.5, {{1, std::string("https://a/\"\n\0b", 14)}}}},
        {"pictures", R"({"width":1,"links":[],"pictures":{"changed":[5],"seen":[6,7]}})",
         PageMeasures{1, {}, {5}, {6, 7}}},
        {"a picture's colour that is none", R"({"width":1,"links":[],"pictures":{"changed":[],"seen":["6"]}})",
         std::nullopt},
        {"half of the pictures", R"({"width":1,"links":[],"pictures":{"changed":[]}})", std::nullopt},
        {"a link's element", with(R"({"colour":255,"url":"https://example.com/","element":7})"),
         PageMeasures{640.5, {{255, "https://example.com/", std::nullopt, 7}}}},
        {"a link to a file", with(R"({"colour":255,"attachment":2,"element":7})"),
         PageMeasures{640.5, {{255, "", std::nullopt, 7, 2}}}},
        {"a link to half a file", with(R"({"colour":255,"attachment":2.5})"), std::nullopt},
        {"a listing",
         listed(R"({"open":"TH","columns":2,"scope":"Row"},"a",null,{"picture":null,"shape":[1,2,3,4],"colour":5})"),
         PageMeasures{1,
                      {},
                      {},
                      {},
                      {{.text = "Document"},
                       {.text = "TH", .columns = 2, .scope = Node::Scope::row},
                       {.kind = Node::Kind::text, .parent = 1, .text = "a"},
                       {.kind = Node::Kind::picture,
                        .width = 1,
                        .height = 2,
                        .naturalWidth = 3,
                        .naturalHeight = 4,
                        .isNamed = false,
                        .colour = 5}}}},
        {"an element that does not end", listed(R"({"open":"P"})"), std::nullopt},
        {"an end without an element", listed("null"), std::nullopt},
        {"a span that is no number", listed(R"({"open":"TD","rows":-1},null)"), std::nullopt},
        {"a picture without a shape", listed(R"({"picture":"a"})"), std::nullopt},
        {"an entry of no kind", listed("7"), std::nullopt},
        {"nothing", "", std::nullopt},
        {"a number alone", "640", std::nullopt},
        {"cut short", with(link).substr(0, 40), std::nullopt},
        {"something behind", with(link) + "{}", std::nullopt},
        {"nested without end", std::string(100'000, '['), std::nullopt},
        {"not UTF-8", with("{\"colour\":1,\"url\":\"\xFF\"}"), std::nullopt},
        {"a width that is no number", R"({"width":"640","links":[]})", std::nullopt},
        {"a width that is not finite", R"({"width":null,"links":[]})", std::nullopt},
        {"a width beyond numbers", R"({"width":1e999,"links":[]})", std::nullopt},
        {"a width below nothing", R"({"width":-1,"links":[]})", std::nullopt},
        {"no links named", R"({"width":640})", std::nullopt},
        {"links that are none", R"({"width":640,"links":{}})", std::nullopt},
        {"one bad link", with(link + ",7"), std::nullopt},
        {"a colour below black", with(R"({"colour":-1,"url":"https://a/"})"), std::nullopt},
        {"a colour beyond white", with(R"({"colour":16777216,"url":"https://a/"})"), std::nullopt},
        {"half a colour", with(R"({"colour":0.5,"url":"https://a/"})"), std::nullopt},
        {"no address", with(R"({"colour":1})"), std::nullopt},
        {"an empty address", with(R"({"colour":1,"url":""})"), std::nullopt},
        {"a part too short", with(R"({"colour":1,"url":"https://a/","part":[0,0,1,1]})"), std::nullopt},
        {"a part that is not finite", with(R"({"colour":1,"url":"https://a/","part":[0,0,1,1,null]})"), std::nullopt},
    };
    for (const auto& [why, answer, expected] : rows) EXPECT_EQ(parsePageMeasures(answer), expected) << why;
}

}   // namespace
}   // namespace ostrel
