#include "tests/render/Printing.h"

#include <algorithm>
#include <string>

namespace ostrel {
namespace {

// What stands between quotes.
std::string saidIn(const std::string& told) {
    std::string said;
    bool isSaid = false;
    for (const char c : told) {
        if (c == '"')
            isSaid = !isSaid;
        else if (isSaid)
            said += c;
    }
    return said;
}

// All but blanks and what pdftotext says of directions, in an order of their own: lines come in another one.
std::string charactersOf(std::string text) {
    for (const std::string_view mark : {"\u202A", "\u202B", "\u202C"})
        for (auto at = text.find(mark); at != text.npos; at = text.find(mark)) text.erase(at, mark.size());
    std::erase_if(text, [](char c) { return c == ' ' || c == '\n' || c == '\f'; });
    std::ranges::sort(text);
    return text;
}

TEST_F(Printing, TellsWhatThePageIsMadeOf) {
    const std::string dot =
        "data:image/"
        "png;base64,iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5Er"
        "kJggg==";
    const struct {
        const char* why;
        std::string html, expected;
    } rows[] = {
        {"headings and paragraphs", "<h1>One</h1><p>Two <b>bold</b> words</p>three<br>lines<br><br>and four",
         R"(H1("One") P("Two bold words") P("three lines") P("and four"))"},
        {"lines that end where they are full",
         "<div style='width:90px;text-align:justify'>One two <b>three</b> <a href='https://e.example/'>four "
         "a\nfive</a> "
         "six sevensevensevenseven<table border=1><tr><td>a b c<td>d<tr><td>e<td>f</table></div>",
         R"(P("One two three " Link("four " "a five" -> ->) " six sevensevensevenseven") )"
         R"(Table(TR(TD("a b c") TD("d")) TR(TD("e") TD("f"))))"},
        {"what roles and styles make of names",
         "<span role=heading aria-level=1>One</span><div role=list><span role=listitem>Two</span></div>"
         "<ul role=presentation><li>Three</ul><p><span style='display:block'>Four</span><b style='display:block'>Five",
         R"(H1("One") L(LI(LBody("Two"))) P("Three") P(P("Four") P("Five")))"},
        {"lists within lists", "<ol><li>One<li><p>Two</p><ul><li>Inner</ul></ol>",
         R"(L(LI(Lbl("1. ") LBody("One")) LI(Lbl("2. ") LBody(P("Two") L(LI(LBody("Inner")))))))"},
        {"a table with heads and spans",
         "<table border=1><tr><th>A<th>B<tr><th scope=row>C<td>1<tr><td colspan=2>2</table>",
         R"(Table(TR(TH/Scope /Column("A") TH/Scope /Column("B")) TR(TH/Scope /Row("C") TD("1")) TR(TD/ColSpan 2("2"))))"},
        {"a table that lays out", "<table><tr><td><p>One</p><td><table><tr><td>Two</table></table>",
         R"(P("One") P("Two"))"},
        {"links, quotations and code",
         "<blockquote>See <a href='https://e.example/'>the page</a>.</blockquote><p>Type "
         "<code>ls</code></p><pre>a\n\nb</pre>",
         R"(BlockQuote(P("See " Link("the page" ->) ".")) P("Type " Code("ls")) Code("ab"))"},
        {"a link around a box", "<a href='https://e.example/'><div><h2>Offer</h2>Now</div></a>",
         R"(Link(H1("Offer") P("Now") ->))"},
        {"pictures with words and decoration",
         "<p>One<img width=40 height=20 alt='a cat' src='" + dot + "'><img width=40 height=20 alt='' src='" + dot +
             "'></p>",
         R"x(P("One" Figure/BBox [)x"},
        {"what is hidden, in other letters, or added",
         "<style>.q:before{content:'Note: '}</style><div style='display:none'>Shout</div><div "
         "style='max-height:0;overflow:"
         "hidden'>Shout</div><h2 style='text-transform:uppercase'>Shout</h2><p class=q>Well</p>",
         R"(H1("SHOUT") P("Note: Well"))"},
        {"what floats or is placed stands where it is written",
         "<p>One</p><div style='float:right'>Two</div><p>Three</p><div "
         "style='position:absolute;top:0'>Four</div><p>Five</p>",
         R"(P("One") P("Two") P("Three") P("Four") P("Five"))"},
        {"columns", "<div style='columns:2'><p>One</p><p>Two</p></div>", R"(P("One") P("Two"))"},
        {"columns that begin where none is left",
         "<style>p{break-before:column}</style><div style='columns:2'><p>One</p><p>Two</p><p>Three</p></div>",
         R"(P("One") P("Two") P("Three"))"},
        {"lines from right to left", "<p dir=rtl>שלום (עולם) abc 12</p>", R"(P("abc 12 (םלוע) םולש"))"},
        {"cells that go on on the next sheet",
         "<table border=1><tr><td style='width:50%'>" + std::string(60, 'a') +
             "<div style='height:800px'></div>left<td>" + std::string(60, 'b') +
             "<div style='height:800px'></div>right<tr><td>c<td>d</table>",
         "Table(TR(TD(P(\"" + std::string(60, 'a') + "\") P(\"left\")) TD(P(\"" + std::string(60, 'b') +
             "\") P(\"right\"))) TR(TD(\"c\") TD(\"d\")))"},
    };
    for (const auto& row : rows) {
        const auto pdf = print("<!DOCTYPE html><body>" + row.html);
        const auto told = readStructure(pdf);
        EXPECT_TRUE(renderer.lastReport().finished.isAccessible) << row.why;
        EXPECT_EQ(told.substr(0, row.expected.ends_with("[") ? row.expected.size() : told.size()), row.expected)
            << row.why;
        EXPECT_EQ(charactersOf(saidIn(told)), charactersOf(readText(pdf))) << row.why;
    }
}

}   // namespace
}   // namespace ostrel
