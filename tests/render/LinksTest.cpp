#include "tests/render/Printing.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace ostrel {
namespace {

std::string numbered(int count, const std::function<std::string(const std::string&)>& one) {
    std::string html;
    for (int i = 0; i < count; ++i) html += one(std::to_string(i));
    return html;
}

// A link whose words all begin with its name, "L7." for the address https://e.example/7.
std::string link(const std::string& name, const std::string& words = "one two", const std::string& style = "") {
    std::string text;
    for (std::size_t at = 0; at < words.size();) {
        const auto end = std::min(words.find(' ', at), words.size());
        text += "L" + name + "." + words.substr(at, end - at) + " ";
        at = end + 1;
    }
    text.pop_back();
    return "<a href='https://e.example/" + name + "' style='" + style + "'>" + text + "</a>";
}

bool holds(const PrintedLink& area, const PrintedWord& word) {
    const double x = (word.left + word.right) / 2, y = (word.top + word.bottom) / 2;
    return x > area.left && x < area.right && y > area.top && y < area.bottom;
}

// Every word of a link lies in an area that opens its address, and no area holds a word of another's or of none.
void expectOnTheirWords(const std::filesystem::path& pdf, std::size_t links, const std::string& why) {
    const auto sheets = readSheets(pdf);
    std::multimap<std::size_t, PrintedLink> areas;
    std::set<std::string> opened;
    for (const auto& area : readLinks(pdf)) {
        areas.emplace(area.sheet, area);
        opened.insert(area.url);
    }
    EXPECT_EQ(opened.size(), links) << why;
    for (std::size_t sheet = 0; sheet < sheets.size(); ++sheet) {
        for (const auto& word : sheets[sheet].words) {
            const auto name = word.text.substr(0, word.text.find('.'));
            const bool isLinked = name.size() < word.text.size() && name.starts_with('L');
            const auto url = isLinked ? "https://e.example/" + name.substr(1) : "";
            bool isFound = false;
            for (auto [at, end] = areas.equal_range(sheet); at != end; ++at) {
                if (!holds(at->second, word)) continue;
                EXPECT_EQ(at->second.url, url) << why << ": " << word.text << " on sheet " << sheet;
                isFound = true;
            }
            EXPECT_EQ(isFound, isLinked) << why << ": " << word.text << " on sheet " << sheet;
        }
    }
}

TEST_F(Printing, LinksLieOnTheirWords) {
    const std::string sentence = "many words that go on until the line is at its end and then on the next one";
    const auto filler = std::string("<p style='margin:30px 0'>words between that belong to no link</p>");
    const struct {
        std::string why;
        std::size_t links;
        std::string html;
    } rows[] = {
        {"200 over ten pages, in lines and across them", 200,
         numbered(200,
                  [&](const std::string& i) {
                      return "<p>before " + link(i, i.back() < '5' ? "one" : sentence) + " after</p>" + filler;
                  })},
        {"cells of a page shrunk by the engine", 40,
         "<table style='width:950px'>" +
             numbered(40,
                      [&](const std::string& i) {
                          return "<tr><td>" + link(i) + "<td>between<td>" + link(i, "again") + "</tr>";
                      }) +
             "</table>"},
        {"a wide page, over several sheets", 400,
         "<table style='width:2600px'>" +
             numbered(400,
                      [&](const std::string& i) {
                          return "<tr><td>left<td>" + link(i) + "<td style='text-align:right'>right</tr>";
                      }) +
             "</table>"},
        {"wide on paper only", 1,
         "<style>@media print{table{width:4000px}}</style><table><tr><td>left<td>" + link("0") + "</table>"},
        {"a page held to a fixed width", 1, "<table style='width:300%'><tr><td>left<td>" + link("0") + "</table>"},
        {"in columns, lists and the other direction", 30,
         "<div style='columns:3'>" +
             numbered(20, [&](const std::string& i) { return "<p>in a column " + link(i, sentence) + " end</p>"; }) +
             "</div><ul>" + numbered(10, [&](const std::string& i) { return "<li dir=rtl>" + link("1" + i + "x"); }) +
             "</ul>"},
        {"buttons, blocks, transparent and inner boxes", 7,
         link("b", "Buy now", "display:inline-block;padding:12px 30px;background:#06c;color:#fff;border-radius:8px") +
             " text " + link("c", "one", "display:block;width:200px") + link("d", "half seen", "opacity:.5") +
             "<p style='opacity:.3'>x " + link("e") +
             "<p><a href='https://e.example/f'><b>Lf.bold <i>Lf.italic</i></b> <span "
             "style='font-size:40px'>Lf.big</span></a>"
             "<div><a href='https://e.example/g'><table border=1><tr><td>Lg.cell<td>Lg.other</table></a></div>"
             "<div style='overflow:hidden;height:20px'>" +
             link("h") + "<p>" + link("h", "cut") + "</div>"},
        {"without boxes that could be marked", 6,
         "<style>p[style^='margin:9px']{color:#333}</style>" + filler + "<div style='width:150px'>before " +
             link("i", sentence, "background:#ff0") + " after</div><p style='mix-blend-mode:multiply'>between " +
             link("j", sentence) + " end<p>between " + link("k", sentence, "display:contents") +
             "<p style='clip-path:inset(0)'>between " + link("l") + "<p style='margin:9px'>between " + link("m") +
             "<p>between <svg width=300 height=40><text x=9 y=20>between</text><a href='https://e.example/n'>"
             "<text x=90 y=20>Ln.drawn</text></a></svg> end"},
        {"the same on a page that is shrunk", 2,
         "<table style='width:1500px'><tr><td style='width:150px'>before " +
             link("i", sentence, "background:#ff0;outline:1px solid red") +
             " after<td style='mix-blend-mode:multiply'>between " + link("j", sentence) + " end</table>"},
    };
    for (const auto& row : rows) expectOnTheirWords(print("<!DOCTYPE html>" + row.html), row.links, row.why);
}

// Whatever the mail's own rules say: either a link works, or it does not; how the page looks never changes. Its twin
// with addresses that nothing opens is printed without marks.
TEST_F(Printing, LinksLeaveNoTrace) {
    const struct {
        const char *why, *html;
        std::size_t links;
    } rows[] = {
        {"plain", "<p>text <a href='LINK1'>words</a> <a href='LINK2'><img width=9 height=9 src=x></a>", 2},
        {"painted by the mail",
         "<style>a{background:#ff0;padding:4px;transition:all 2s}</style><a href='LINK1'>words</a>", 1},
        {"rules of the mail are important",
         "<style>a{all:unset !important;background:none !important;outline:0 !important;"
         "box-shadow:none !important}</style><a href='LINK1'>words</a>",
         1},
        {"no box", "<a href='LINK1' style='display:contents'>words</a>", 1},
        {"a background of its own, over two lines",
         "<p style='width:90px'>before <a href='LINK1' style='background:#ff0'>a word and others</a> after", 3},
        {"hidden",
         "<a href='LINK1' style='display:none'>a</a><a href='LINK1' style='visibility:hidden'>b</a>"
         "<a href='LINK1' style='opacity:0'>c</a>",
         0},
        {"printed as a picture",
         "<p style='filter:blur(1px)'><a href='LINK1'>words</a>"
         "<p style='-webkit-mask-image:linear-gradient(#000,transparent)'><a href='LINK1'>words</a>"
         "<p style='-webkit-box-reflect:below'><a href='LINK1'>words</a><p style='mix-blend-mode:multiply'><a "
         "href='LINK1'>words</a>"
         "<p style='background:linear-gradient(red,blue);-webkit-background-clip:text;color:transparent'><a "
         "href='LINK1'>w</a>",
         5},
        {"the name of the effect is escaped", "<style>p{f\\69lter:grayscale(1)}</style><p><a href='LINK1'>words</a>",
         1},
        {"rules that read style attributes",
         "<style>a[style*=background]{font-size:40px}</style><a href='LINK1'>words</a>", 1},
        {"rules in rules", "<style>p{a[style*=background]{font-size:40px}}</style><p><a href='LINK1'>words</a>", 1},
        {"scopes", "<style>@scope(a[style]){:scope{font-size:40px}}</style><a href='LINK1'>words</a>", 1},
        {"text made of the attribute", "<style>a::after{content:at\\74r(style)}</style><a href='LINK1'>words</a>", 1},
        {"rules that find the same", "<style>a[style*=zz]{color:red}</style><a href='LINK1'>words</a>", 1},
        {"style attributes and important styles of its own",
         "<style>a[style$='none !important']{color:red}</style><a href='LINK1' style='outline:0 !important;"
         "background:none !important'>words</a>",
         0},
        {"a drawing", "<p>text <svg width=99 height=40><a href='LINK1'><text y=20>words</text></a></svg> text", 1},
        {"maps",
         "<map name=m><area href='LINK1' coords='0,0,9,9'><area href='LINK2' shape=circle coords='15,15,4'>"
         "<area href='x-none:1' coords='1,1,2,2'><area href='LINK3' shape=poly coords='0,x,3'></map>"
         "<img usemap='#m' width=20 height=20 src=x><img usemap='#none' width=20 height=20 src=x>",
         2},
        {"over pages, with nothing around it that is whole",
         "<div style='height:2000px;filter:grayscale(1)'><a href='LINK1'>words</a></div>", 0},
    };
    for (const auto& row : rows) {
        std::string marked = "<!DOCTYPE html>" + std::string(row.html), plain = marked;
        for (std::size_t at = 0; (at = marked.find("LINK", at)) != std::string::npos;)
            marked.replace(at, 4, "https://e.example/");
        for (std::size_t at = 0; (at = plain.find("LINK", at)) != std::string::npos;)
            plain.replace(at, 4, "x-none://e.example/");
        const auto pdf = print(marked), twin = print(plain);
        EXPECT_EQ(readLinks(pdf).size(), row.links) << row.why;
        EXPECT_EQ(readLinks(twin).size(), 0u) << row.why;
        EXPECT_EQ(readText(pdf), readText(twin)) << row.why;
        EXPECT_TRUE(readPixels(pdf) == readPixels(twin)) << row.why;
    }
}

TEST_F(Printing, LinksOpenWhatThePreviewWouldOpen) {
    const struct {
        std::string why, href, opens;   // empty: nothing
    } rows[] = {
        {"web", "https://e.example/a?b=c&amp;d#e", "https://e.example/a?b=c&d#e"},
        {"mail", "mailto:ann@e.example?subject=a%20b", "mailto:ann@e.example?subject=a%20b"},
        {"upper case, blanks around, line breaks within", " \n HTTP://E.example/a\nb\t", "http://e.example/ab"},
        {"beyond ASCII", "http://b\u00fccher.example/\u00e4 \u672c?q=\u00e9",
         "http://xn--bcher-kva.example/%C3%A4%20%E6%9C%AC?q=%C3%A9"},
        {"what PDF strings escape", "http://e.example/a(b)\\c)", "http://e.example/a(b)/c)"},
        {"long", "http://e.example/" + std::string(9000, 'x'), "http://e.example/" + std::string(9000, 'x')},
        {"no address any more", "http://e.example/" + std::string(2'000'000, 'x'), ""},
        {"script", "javascript:alert(1)", ""},
        {"script in disguise", "java\nscript:alert(1)//http://e.example", ""},
        {"file", "file:///etc/passwd", ""},
        {"page in itself", "data:text/html,https://e.example", ""},
        {"telephone", "tel:112", ""},
        {"no scheme", "//e.example/a", ""},
        {"within the page", "#top", ""},
        {"broken", "http://", ""},
        {"broken, and a line to smuggle", "http://[\n9e3779 javascript:alert(1)", ""},
    };
    for (const auto& row : rows) {
        const auto links =
            readLinks(print("<!DOCTYPE html><meta charset=utf-8><a href=\"" + row.href + "\">words</a>"));
        ASSERT_EQ(links.size(), row.opens.empty() ? 0u : 1u) << row.why;
        EXPECT_EQ(links.empty() ? "" : links[0].url, row.opens) << row.why;
    }
}

}   // namespace
}   // namespace ostrel
