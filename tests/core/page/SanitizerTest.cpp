#include "core/page/ImageRewrite.h"
#include "core/page/MessageHTML.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using Images = std::map<std::string, MailAttachment>;

MailAttachment image(MailAttachment::Source source) {
    return {"a.png", "image/png", std::nullopt, "2", std::move(source)};
}

struct Row {
    const char* why;
    std::string html;
    std::string expected;
    std::size_t blocked = 0;
};

void check(const std::vector<Row>& rows, const Images& images = {}) {
    for (const auto& row : rows) {
        const auto result = MessageHTML::sanitize(row.html, images);
        EXPECT_EQ(row.expected, wholeHTML(result.html, result.pictures)) << row.why;
        EXPECT_EQ(row.blocked, result.blocked) << row.why;
    }
}

std::string box(const std::string& style, const std::string& text = "") {
    return "<span class=\"blocked-image\" style=\"" + style + "\">" + text + "</span>";
}

TEST(Sanitizer, TakesStyleSheetsAndBody) {
    check({
        {"styles of the head precede the body", "<head><style>A</style></head><body>B</body>C", "<style>A</style>B"},
        {"a fragment stays", "<p>B <b>c</b>", "<p>B <b>c</b>"},
        {"no body: the head gives way to the styles", "<head><title>T</title><style>A</style></head>B",
         "<style>A</style>B"},
        {"every head does", "<head></head><head></head><style>A</style>",
         "<style>A</style><style>A</style><style>A</style>"},
        {"an unclosed body runs to the end", "x<body class=a>B", "B"},
        {"styles are inserted as they are", "<head><style>a{content:\"\\201C$1\\1\"}</style></head>B",
         "<style>a{content:\"\\201C$1\\1\"}</style>B"},
        {"a style of the body is kept there too", "<body><style>A</style>B", "<style>A</style><style>A</style>B"},
        {"an unclosed style is no style sheet", "<style>A<body>B</body>", "B"},
        {"header is not head", "<header>A</header>B", "<header>A</header>B"},
    });
}

TEST(Sanitizer, RemovesWhatIsActiveOrEmbeds) {
    check({
        {"elements with their content", "a<SCRIPT>alert(1)</SCRIPT >b<iframe src=x></iframe>c", "abc"},
        {"controls as tags", "<input type=text><meta charset=x>a<button>b</button>", "ab</button>"},
        {"unclosed: only the tag", "<script>alert(1)", "alert(1)"},
        {"frameset is not a frame", "<frameset><frame src=a></frameset>b", "b"},
        {"long s and Kelvin sign are letters of the names", "<\u017Fcript>x</script><lin\u212A rel=a>b", "b"},
        {"a longer word is another tag", "<scripts>a</scripts>", "<scripts>a</scripts>"},
        {"a letter beyond ASCII makes a longer word", "<script\u00E9>a", "<script\u00E9>a"},
        {"removals that join text into a tag of a later step", "<li<script></script>nk>a", "a"},
        {"a single tag that removing another makes", "<ba<link>se>a<ht<base>ml>b", "ab"},
        {"of an earlier step: left to the page's policy", "<scr<iframe></iframe>ipt>a", "<script>a"},
        {"the first > ends a tag, even in quotes", "<embed a=\">\">b", "\">b"},
        {"structure and form tags go, their text stays", "<form><title>a</title></form></body >", "a"},
        {"a tag without > is text", "<script", "<script"},
    });
}

TEST(Sanitizer, RemovesAttributesThatRunOrFetch) {
    check({
        {"both quotes", "<p onclick=\"a()\"  onload='b()' id=x>", "<p id=x>"},
        {"unquoted, with spaces", "<p\n onclick = a()>", "<p>"},
        {"an unclosed quote belongs to an unquoted value", "<p onclick=\"a b>", "<p b>"},
        {"in text too", "we are online = yes now", "we are now"},
        {"on alone is no event", "<p on=a>", "<p on=a>"},
        {"no value, no attribute", "<p onclick= >", "<p onclick= >"},
        {"Unicode white space separates", "<p\u00A0onclick\u2003=\u3000a>", "<p>"},
        {"script URLs", "<a href=\"javascript:a()\">b</a><a HREF = JavaScript:b()>",
         "<a href=\"#\">b</a><a HREF=\"#\">"},
        {"an unclosed quoted script URL is another thing", "<a href=\"javascript:a() b\">",
         "<a href=\"javascript:a() b\">"},
        {"the longer name keeps its head", "<a xhref=javascript:a>", "<a xhref=\"#\">"},
        {"fetching attributes of other elements", "<td background=\"//a/b\" id=x><video poster=x>", "<td id=x>"},
    });
}

TEST(Sanitizer, KeepsStyleSheetsLocal) {
    check({
        {"imports up to the semicolon", "<style>@import url(http://a/b);p{}</style>", "<style>p{}</style>"},
        {"an import without one takes the rest", "a@IMPORT 'x'</style>b", "a"},
        {"web, scheme-relative, FTP and file URLs",
         "url(http://a) url( 'https://b' ) URL(\"//c\") url(ftp:d) url(file:///e)", "none none none none none"},
        {"data and message URLs stay", "url(data:image/png,x) url('cid:a') url(/b)",
         "url(data:image/png,x) url('cid:a') url(/b)"},
        {"no closing parenthesis", "url(http://a", "url(http://a"},
    });
}

TEST(Sanitizer, ReplacesForeignImages) {
    check({
        {"no size", "<img src=http://a/b>", box(""), 1},
        {"capped, with its text", "<img src='//a' width=2000 height=\"900\" alt=\"Logo\">",
         box("width:640px;height:400px", "Logo"), 1},
        {"per cent reads as pixels", "<img width=\"50%\" src=a>", box("width:50px"), 1},
        {"a tracking pixel disappears and counts", "a<img src=a width=1 height=1>b", "ab", 1},
        {"one small side is enough", "<img src=a width=600 height=2>", "", 1},
        {"one size alone is none", "<img src=a height=1>", box("height:1px"), 1},
        {"no source: no image, no count", "a<img alt=\"x\">b<img src=\"\">", "ab"},
        {"data-src is no source", "<img data-src=a>", ""},
        {"the first source counts", "<img src=a src=data:image/png,x>", box(""), 1},
        {"images in the HTML stay", "<img src=\"DATA:image/gif;base64,R0\">", "<img src=\"DATA:image/gif;base64,R0\">"},
        {"other data does not", "<img src=data:text/html,x>", box(""), 1},
        {"a number beyond 64 bits is none", "<img src=a width=99999999999999999999 height=9>", box("height:9px"), 1},
        {"digits of other scripts are none", "<img src=a width=\u0665 height=9\u0665>", box(""), 1},
        {"a size without digits is passed over", "<img src=a width=auto width=7>", box("width:7px"), 1},
        {"srcset goes with the tag", "<img src=a srcset=\"b 2x\">", box(""), 1},
    });
}

TEST(Sanitizer, EmbedsTheImagesOfTheMessage) {
    MailAttachment escaping = image(Bytes("a"));
    escaping.mimeType = "image/x\"><link rel=dns-prefetch href=//x>";
    const Images images = {{"One@x", image(Bytes("ab"))},
                           {"escaping", escaping},
                           {"caf\u00E9", image(Bytes("abc"))},
                           {"100%", image(Bytes("a"))},
                           {"empty", image(Bytes())},
                           {"gone", image(MailAttachment::Missing{})},
                           {"file", image(std::filesystem::path("/no such folder/a.png"))}};
    const std::string uri = "data:image/png;base64,";
    check(
        {
            {"by identifier", "<img alt=x src=\"cid:One@x\" width=2>", "<img alt=x src=\"" + uri + "YWI=\" width=2>"},
            {"letter case ignored", "<img src=CID:oNE@X>", "<img src=\"" + uri + "YWI=\">"},
            {"percent-encoded", "<img src=cid:%6Fne%40x>", "<img src=\"" + uri + "YWI=\">"},
            {"percent-encoded UTF-8", "<img src=cid:caf%C3%A9>", "<img src=\"" + uri + "YWJj\">"},
            {"what does not decode is the identifier", "<img src=cid:100%>", "<img src=\"" + uri + "YQ==\">"},
            {"no bytes are bytes", "<img src=cid:empty>", "<img src=\"" + uri + "\">"},
            {"every source of the tag", "<img src=cid:One@x SRC = 'b'>",
             "<img src=\"" + uri + "YWI=\" src=\"" + uri + "YWI=\">"},
            {"a quote that is not closed stays", "<img src=\"cid:One@x >", "<img src=\"" + uri + "YWI=\"\"cid:One@x >"},
            {"a type made to end the attribute", "<img src=cid:escaping>",
             "<img src=\"data:image/x&quot;&gt;&lt;link rel=dns-prefetch href=//x&gt;;base64,YQ==\">"},
            {"unknown", "<img src=cid:other>", box(""), 1},
            {"cut inside an escape", "<img src=cid:One%4>", box(""), 1},
            {"not UTF-8", "<img src=cid:caf%E9>", box(""), 1},
            {"not downloaded", "<img src=cid:gone>", box(""), 1},
            {"file that cannot be read", "<img src=cid:file>", box(""), 1},
        },
        images);
}

TEST(Sanitizer, ReadsImagesFromTheirFiles) {
    const auto path = std::filesystem::path(testing::TempDir()) / "ostrel-page-image.png";
    std::ofstream(path, std::ios::binary) << std::string("\xFF\xFE\x00", 3);
    check({{"base64 of all bytes", "<img src=cid:a>", "<img src=\"data:image/png;base64,//4A\">"}},
          {{"a", image(path)}});
    std::filesystem::remove(path);
}

TEST(Sanitizer, StopsEmbeddingBeforeThePageFillsTheMemory) {
    const Images images = {{"big", image(Bytes(std::string(12'000'000, 'x')))}, {"small", image(Bytes("abc"))}};
    std::string html;
    for (int i = 0; i < 20; ++i) html += "<img src=cid:big>";
    const std::string written = "<img src=\"data:image/png;base64,";
    html += written + std::string(13'000'000, 'A') + "\">";
    html += "<img src=cid:small>";
    const auto result = MessageHTML::sanitize(html, images);
    EXPECT_EQ(5U, result.blocked) << "sixteen of 16 MB fit, and none of 13 MB that the sender wrote into the HTML";
    const auto whole = wholeHTML(result.html, result.pictures);
    EXPECT_EQ(whole.find(written + "AA"), std::string::npos);
    EXPECT_LE(whole.size(), ImageRewriter::embeddedBytesLimit + html.size() + 1000);
    EXPECT_TRUE(whole.ends_with("<img src=\"data:image/png;base64,YWJj\">")) << "a smaller one still fits";
}

}   // namespace
}   // namespace ostrel
