#include "pdf/tags/ListedStructure.h"
#include "pdf/tags/TableGrid.h"
#include "tests/pdf/SamplePDF.h"

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

using Kind = ListedNode::Kind;

// "Document(P('text' Link#0('more')) TD#rows,columns())": a listing as the tests write it.
PageListing listing(std::string_view text) {
    PageListing all{{.text = "Document"}};
    std::size_t parent = 0;
    for (std::size_t at = 0; at < text.size();) {
        const char c = text[at];
        if (c == ' ') {
            ++at;
        } else if (c == ')') {
            parent = all[parent].parent;
            ++at;
        } else if (c == '\'' || c == '[') {
            const auto end = text.find(c == '[' ? ']' : '\'', at + 1);
            all.push_back({.kind = c == '[' ? Kind::picture : Kind::text, .parent = parent});
            all.back().text = text.substr(at + 1, end - at - 1);
            if (c == '[') all.back().width = 40, all.back().height = 20;
            at = end + 1;
        } else {
            const auto end = text.find('(', at);
            auto type = text.substr(at, end - at);
            ListedNode node{.parent = parent};
            if (const auto number = type.find('#'); number != type.npos) {
                const auto value = static_cast<std::size_t>(type[number + 1] - '0');
                if (type.starts_with("Link")) node.link = value;
                if (type.starts_with("T"))
                    node.rows = value, node.columns = static_cast<std::size_t>(type[number + 3] - '0');
                type = type.substr(0, number);
            }
            node.text = type;
            parent = all.size();
            all.push_back(node);
            at = end + 1;
        }
    }
    return all;
}

// The same of a structure, with the numbers of marked content in place of texts.
std::string told(const Structure& structure, std::size_t number = 0) {
    const auto& element = structure.elements[number];
    std::string text = element.type;
    for (const auto* span : {"/RowSpan 2", "/ColSpan 2"})
        if (element.attributes.find(span) != std::string::npos) text += span;
    if (!element.alternative.empty()) text += "[" + element.alternative + "]";
    text += "(";
    for (const auto& part : element.parts) {
        if (text.back() != '(') text += ' ';
        text += part.kind == Element::Part::Kind::element   ? told(structure, part.number)
                : part.kind == Element::Part::Kind::content ? std::to_string(part.number)
                                                            : "link" + std::to_string(part.number);
    }
    return text + ")";
}

PaintedPage page(std::vector<std::u16string> texts, std::vector<std::optional<std::size_t>> links) {
    PaintedPage made{{}, std::move(links)};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        Painted each{Painted::Kind::text, 2 * i, 2 * i + 1, texts[i], 100.0 * static_cast<double>(i)};
        if (texts[i] == u"/") each = {Painted::Kind::drawing, 2 * i, 2 * i + 1};
        if (texts[i] == u"[]") each = {Painted::Kind::picture, 2 * i, 2 * i + 1}, each.box = {0, 0, 80, 40};
        if (i > 0 && texts[i - 1].ends_with(u'.')) each.baseline = made.painted[i - 1].baseline;   // an item's number
        made.painted.push_back(each);
    }
    return made;
}

// "First(Inner) Last", read in both directions.
std::string outlineOf(QPDFObjectHandle parent) {
    if (!parent.isDictionary() || !parent.hasKey("/First")) return {};
    std::string text;
    std::size_t count = 0;
    for (auto entry = parent.getKey("/First"), before = entry; !entry.isNull();
         before = entry, entry = entry.getKey("/Next")) {
        EXPECT_EQ(entry.getKey("/Parent").getObjGen(), parent.getObjGen());
        EXPECT_TRUE(count++ == 0 || entry.getKey("/Prev").getObjGen() == before.getObjGen());
        text += (text.empty() ? "" : " ") + entry.getKey("/Title").getUTF8Value();
        if (const auto inner = outlineOf(entry); !inner.empty()) text += "(" + inner + ")";
        EXPECT_TRUE(entry.hasKey("/Next") || parent.getKey("/Last").getObjGen() == entry.getObjGen());
    }
    return text;
}

TEST(ListedStructure, IsTheDocumentsOwnOrNone) {
    const struct {
        const char* why;
        std::string_view listed;
        std::vector<std::u16string> painted;
        std::vector<std::optional<std::size_t>> links;
        std::string expected;   // empty: none
    } rows[] = {
        {"lines of a paragraph are one, a drawing cuts them",
         "P('one two three')",
         {u"one", u"two", u"/", u"three"},
         {},
         "Document(P(0 1))"},
        {"what is not shown is not there",
         "P('one') H1('gone') L(LI(Lbl() LBody('gone, too'))) P('two')",
         {u"one", u"two"},
         {},
         "Document(P(0) P(1))"},
        {"the order is the document's", "P('one') P('two')", {u"two", u"one"}, {}, "Document(P(1) P(0))"},
        {"a link within its sentence",
         "P('one' Link#7('two') 'three')",
         {u"one", u"two", u"three"},
         {7},
         "Document(P(0 Link(1 link0) 2))"},
        {"a link over two lines has two areas",
         "P(Link#7('two lines'))",
         {u"two", u"lines"},
         {7, 7},
         "Document(P(Link(0 link0 link1)))"},
        {"a link that opens nothing is its text", "P('one' Link#3('two'))", {u"one", u"two"}, {}, "Document(P(0 1))"},
        {"an area of nobody", "P('one')", {u"one"}, {std::nullopt, 9}, "Document(P(0) Link(link0) Link(link1))"},
        {"two that say they are the same link",
         "P(Link#1('one')) P(Link#1('two'))",
         {u"one", u"two"},
         {1},
         "Document(P(Link(0 link0)) P(1))"},
        {"numbers of items",
         "L(LI(Lbl() LBody('one')) LI(Lbl() LBody('two')))",
         {u"1.", u"one", u"2.", u"two"},
         {},
         "Document(L(LI(Lbl(0) LBody(1)) LI(Lbl(2) LBody(3))))"},
        {"headings leave no level out",
         "H1('aaaa') H4('bbbb') H2('cccc')",
         {u"aaaa", u"bbbb", u"cccc"},
         {},
         "Document(H1(0) H2(1) H2(2))"},
        {"cells that show nothing stay",
         "Table(TR(TH('head') TD()) TR(TD() TD('data')))",
         {u"head", u"data"},
         {},
         "Document(Table(TR(TH(0) TD()) TR(TD() TD(1))))"},
        {"a short row is filled, a span ends with the table",
         "Table(TR(TD#9,1('one') TD('two')) TR(TD('three') TD('four')))",
         {u"one", u"two", u"three", u"four"},
         {},
         "Document(Table(TR(TD/RowSpan 2(0) TD(1) TD()) TR(TD(2) TD(3))))"},
        {"cells that overlap are no table",
         "Table(TR(TD('one') TD#2,1('two')) TR(TD#1,2('three')))",
         {u"one", u"two", u"three"},
         {},
         "Document(Div(0) Div(1) Div(2))"},
        {"a picture with words, in its place",
         "P('one' [a cat] 'two')",
         {u"one", u"[]", u"two"},
         {},
         "Document(P(0 Figure[a cat](1) 2))"},
        {"a picture without words, and one that is not listed",
         "P([] 'one')",
         {u"[]", u"[]", u"one"},
         {},
         "Document(P(0))"},
        {"more text than the document has", "P('one')", {u"one", std::u16string(300, u'x')}, {}, ""},
        {"nothing of what the document has", "P('one')", {u"two"}, {}, ""},
        {"a cell without a row", "Table(TD('one'))", {u"one"}, {}, ""},
        {"text between items", "L('one')", {u"one"}, {}, ""},
        {"an element that nobody knows", "Script('one')", {u"one"}, {}, ""},
        {"a document in the document", "Document('one')", {u"one"}, {}, ""},
        {"nothing shown", "P('one')", {}, {}, "Document()"},
    };
    for (const auto& row : rows) {
        const auto made = listedStructure(listing(row.listed), {page(row.painted, row.links)});
        EXPECT_EQ(made.whyNone.empty() ? told(made.structure) : "", row.expected) << row.why << made.whyNone;
    }
}

TEST(ListedStructure, ElementsMayNotBeTooDeep) {
    PageListing deep{{.text = "Document"}};
    while (deep.size() < 100'000) deep.push_back({.parent = deep.size() - 1, .text = "BlockQuote"});
    EXPECT_FALSE(listedStructure(deep, {}).whyNone.empty());
    EXPECT_FALSE(listedStructure({}, {}).whyNone.empty());
}

TEST(ListedStructure, ItsHeadingsMakeAnOutline) {
    const auto made = listedStructure(listing("H1('first  of\nall') P('text') H2('a link' Link#1('within'))"),
                                      {page({u"first of all", u"text"}, {}), page({u"a link", u"within"}, {})});
    EXPECT_EQ(made.structure.headings, (std::vector<Heading>{{"first of all", 1, 0, 24}, {"a linkwithin", 2, 1, 24}}));

    const std::string deep = "First(Inner(Deep) Next) Last(Leaf)";
    const std::vector<Heading> headings{{"First", 1}, {"Inner", 2}, {"Deep", 3}, {"Next", 2}, {"Last", 1}, {"Leaf", 4}};
    const struct {
        const char* why;
        std::size_t pages;
        std::vector<Heading> headings;
        std::string expected;
    } rows[] = {
        {"each under the one before it that is higher", 1, headings, deep},
        {"two of a short file help nobody", 2, {{"First", 1}, {"Next", 2}}, ""},
        {"two of a long one do", 3, {{"First", 1}, {"Next", 1, 2}}, "First Next"},
        {"more than anybody reads", 3, std::vector<Heading>(5000, {"First", 1}), ""},
    };
    for (const auto& row : rows) {
        test::SamplePDF pdf;
        for (std::size_t i = 0; i < row.pages; ++i) pdf.page("");
        writeOutline(pdf.file(), row.headings);
        EXPECT_EQ(outlineOf(pdf.file().getRoot().getKey("/Outlines")), row.expected) << row.why;
    }
}

TEST(TableGrid, IsBounded) {
    const std::vector<std::vector<TableCell>> wide{{{1, 5000}}}, many(3000, {{1, 1000}});
    EXPECT_FALSE(layOutGrid(wide));
    EXPECT_FALSE(layOutGrid(many));
}

}   // namespace
}   // namespace ostrel::pdf
