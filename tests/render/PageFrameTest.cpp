#include "core/message/MailMessage.h"
#include "core/page/MessageHTML.h"
#include "tests/render/Printing.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>

namespace ostrel {
namespace {

// What a mail may write to get at the head of its page and at the list of its attachments.
constexpr struct {
    const char* why;
    const char* html;
} attacks[] = {
    {"hides our elements", "<style>table,h1,header,ostrel-frame{display:none !important}</style>"},
    {"hides everything",
     "<style>html,body,*{visibility:hidden;opacity:0 !important;color:transparent !important;font-size:0 !important}"
     "</style>"},
    {"moves the page away",
     "<style>html{display:none !important;position:absolute !important;left:-9999px !important;margin-top:-900px "
     "!important;transform:scale(0) !important}</style>"},
    {"says so in a layer",
     "<style>@layer a{html{opacity:0 !important}body{position:fixed !important;top:-500px !important;background:red}}"
     "</style>"},
    {"makes it tiny", "<style>html{zoom:.05;font-size:1px;writing-mode:vertical-rl;columns:9}</style>"},
    {"animates it away",
     "<style>@keyframes k{from,to{opacity:0;transform:translateY(-500px)}}"
     "html,body,header,ostrel-frame{animation:k 1000s infinite}</style>"},
    {"lies on it",
     "<div style='position:absolute;top:0;left:0;width:100%;height:9in;background:red;z-index:99999'>x</div>"},
    {"stays on it",
     "<div style='position:f\\69xed;top:0;left:0;width:100%;height:9in;background:red;z-index:9'>x</div>"},
    {"is pulled over it",
     "<style>body{margin:-3000px 0 -9000px !important;background:red}main{margin:-900px 0}</style>"
     "<div style='margin-top:-400px;background:red;height:500px'>x</div>"},
    {"floats over it", "<div style='float:left;margin-top:-300px;width:100%;height:600px;background:red'>x</div>"},
    {"is pulled over it in print only",
     "<style>@media print{body{display:contents !important;margin-bottom:-3000px !important}"
     "main{margin-top:-2000px;display:contents}.html{margin-top:-300px;margin-bottom:-9999px}}</style>"
     "<p style='margin-top:-500px;background:red;height:300px'>x"},
    {"is mirrored onto it",
     "<style>body{-webkit-box-reflect:above 0px;background:red;box-shadow:0 -200px 0 200px red;outline:300px solid red;"
     "translate:0 -300px}</style><p>x"},
    {"generates something on it",
     "<style>html::before{content:'x';position:absolute;top:0;left:0;background:red;z-index:9;width:100%;height:9in}"
     "body::before{content:'x';position:absolute;top:-300px;height:300px;width:100%;background:red}</style><p>x"},
    {"has the look of its first line",
     "<style>html::first-line{font-size:1px;color:white}html::first-letter{font-size:300px}</style><p>x"},
    {"is as dark as its letters", "<style>html,body{background:#1a1a1a !important}</style><p>x"},
    {"brings letters of its own",
     "<style>@font-face{font-family:Helvetica;src:local('DejaVu Sans Mono')}@font-face{font-family:'\\41rial';"
     "src:local('DejaVu Sans Mono')}@media all{@font-face{font-family:-apple-system;src:local('DejaVu Sans Mono')}}"
     "</style><p>x"},
    {"bears the names of what we ask for",
     "<img name=body src='data:image/gif,x'><img name=documentElement src='data:image/gif,x'>"
     "<img name=styleSheets src='data:image/gif,x'><img name=createElement src='data:image/gif,x'>"},
    {"imitates it",
     "</div></main></body></html><header class='ostrel'><h1>Another subject</h1></header>"
     "<section class='files'><ul><li>another.txt</ul></section>"},
    {"brings tags of the page's own",
     "<ht<html>ml style='display:none !important' hidden><bo<body>dy hidden style='margin-top:-900px !important'>x"},
    {"never ends a comment", "<p>x<!-- "},
    {"never ends a style sheet", "<p>x<style>"},
    {"never ends a box of text", "<p>x<textarea>"},
    {"never ends a title", "<p>x<ti<title>tle>"},
    {"never ends a list to choose from", "<p>x<select><option>"},
    {"never ends a table", "<p>x<table><tr><td>x<table>"},
    {"never ends a drawing", "<p>x<svg><desc><title>"},
    {"never ends a formula", "<p>x<math><mi>"},
    {"never ends at all", "<p>x<plaintext>"},
};

class PageFrame : public Printing {
protected:
    static Page pageWith(const std::string& html) {
        MailMessage mail;
        mail.subject = "The subject";
        mail.from = {{"Sender", "sender@example.org"}};
        mail.htmlBody = html;
        mail.attachments = {{.filename = "report.txt",
                             .mimeType = "text/plain",
                             .contentID = {},
                             .partNumber = "2",
                             .source = Bytes()}};
        auto page = MessageHTML::page(mail, "", "the day", "Mail", {});
        page.savedFiles = {"Mail/report.txt"};
        return page;
    }
    std::filesystem::path printMail(const std::string& html) {
        const auto path = folder.path() / ("mail " + std::to_string(++printed_) + ".pdf");
        renderer.renderPDF(pageWith(html), path, {});
        return path;
    }
    // The upper part of the first sheet, down to so many points.
    static std::string headOf(const std::filesystem::path& pdf, double points) {
        std::istringstream pixels(readPixels(pdf));
        std::string kind;
        std::size_t width = 0, height = 0, most = 0;
        pixels >> kind >> width >> height >> most;
        pixels.get();
        const auto rows = static_cast<std::size_t>(points / 72 * 60);
        std::string head(width * 3 * rows, ' ');
        pixels.read(head.data(), static_cast<std::streamsize>(head.size()));
        return head;
    }

private:
    int printed_ = 0;
};

TEST_F(PageFrame, StandsWhateverTheMailDoes) {
    const auto plain = printMail("<p>x");
    const auto day = find(readSheets(plain), "day");
    ASSERT_TRUE(day);
    const double end = day->bottom + 7;   // within the line below the head
    const std::string head = headOf(plain, end);
    for (const auto& [why, html] : attacks) {
        SCOPED_TRACE(why);
        const auto pdf = printMail(html);
        EXPECT_TRUE(headOf(pdf, end) == head);
        const auto file = find(readSheets(pdf), "report.txt");
        ASSERT_TRUE(file);
        EXPECT_GT(file->top, day->bottom);
        EXPECT_TRUE(std::ranges::any_of(readLinks(pdf), [&](const PrintedLink& link) {
            return link.url == "Mail/report.txt" && std::abs(link.left - file->left) < 3 &&
                   std::abs(link.right - file->right) < 3 && link.top < file->bottom && link.bottom > file->top;
        }));
        EXPECT_EQ(readText(pdf).find("</"), std::string::npos);
    }
}

// The document and its forms have what bears a name in the place of their own properties, for our scripts as well.
TEST_F(PageFrame, DoesNotTakeNamesForWhatItAsksFor) {
    const std::string dot =
        "<img src='data:image/"
        "png;base64,iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg=='";
    std::string names;
    for (const char* const name : {"body",
                                   "head",
                                   "documentElement",
                                   "children",
                                   "styleSheets",
                                   "adoptedStyleSheets",
                                   "links",
                                   "images",
                                   "fonts",
                                   "createElement",
                                   "createRange",
                                   "createTreeWalker",
                                   "getElementsByTagName",
                                   "getElementsByTagNameNS",
                                   "querySelector",
                                   "querySelectorAll",
                                   "scrollingElement",
                                   "baseURI",
                                   "localName",
                                   "firstChild",
                                   "nextSibling",
                                   "parentElement",
                                   "childNodes",
                                   "attributes",
                                   "style",
                                   "nodeType",
                                   "checkVisibility",
                                   "offsetHeight",
                                   "getBoundingClientRect",
                                   "frameTrees",
                                   "enlargeFrame",
                                   "getComputedStyle",
                                   "JSON",
                                   "Map"})
        names += dot + " name=" + name + " id=" + name + ">";
    for (const std::string open : {"", "<fo<form>rm>", "<fo<form>rm><fo<form>rm name=body>"}) {
        const auto pdf = printMail(open + names +
                                   "<h2>Heading</h2><div style='width:1600px;text-align:right'>edge</div>"
                                   "<a href='https://e.example/'>link</a>");
        const auto links = readLinks(pdf);
        EXPECT_EQ(std::ranges::count(links, "https://e.example/", &PrintedLink::url), 1) << open;
        EXPECT_NE(readStructure(pdf).find("H2(\"Heading\")"), std::string::npos) << open;
        const auto edge = find(readSheets(pdf), "edge");
        ASSERT_TRUE(edge) << open;
        EXPECT_LT(edge->right, 595 - 40) << open;
    }
}

}   // namespace
}   // namespace ostrel
