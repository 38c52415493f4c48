#include "fuzz/Target.h"
#include "pdf/content/Contents.h"
#include "pdf/content/Tokens.h"
#include "pdf/fonts/FontTexts.h"
#include "pdf/fonts/GlyphUse.h"
#include "pdf/fonts/Recoding.h"
#include "pdf/pages/MarkReader.h"
#include "pdf/text/Clusters.h"
#include "pdf/text/PageText.h"
#include "tests/fonts/SampleFont.h"
#include "tests/pdf/SamplePDF.h"

#include <algorithm>
#include <array>
#include <map>

namespace ostrel::fuzz {
namespace {

using pdf::Token, pdf::Tokens;

// ---- Tokens

struct Word {
    Token::Kind kind;
    std::string text;
    bool isHex;
    bool operator==(const Word&) const = default;
};
using Words = std::vector<Word>;

Words wordsOf(std::string_view content) {
    Words words;
    Tokens tokens(content);
    std::size_t end = 0;
    while (const auto token = tokens.next()) {
        holds(token->begin >= end && token->end <= content.size(), "tokens stand one after the other");
        end = token->end;
        words.push_back({token->kind, std::string(token->text), token->isHex});
    }
    return words;
}

// ---- What content draws with

// Fonts: /A and /B of drawn glyphs, /W composite with a program for Devanagari, /S simple. /F is faint.
struct Surroundings {
    test::SamplePDF pdf;
    std::map<std::string, QPDFObjectHandle> fonts;
    QPDFObjectHandle resources;

    Surroundings() {
        const auto form = pdf.stream("<< /Subtype /Form /BBox [0 0 9 9] >>", "0 0 9 9 re f");
        const auto program = test::sampleFont({U'\u0928', U'\u0939', U'\u093f'});
        std::string text =
            "<< /ExtGState << /F << /ca .0039 >> /O << /ca 1 >> /T << /Font [null 9] >> >> /XObject << /X " +
            test::ref(form) + " >> /Font << /W " + test::compositeFont(pdf, program, {{1, u"\u0928"}, {2, u"\u0939"}}) +
            " /S << /Type /Font /Subtype /Type1 /BaseFont /Courier >>";
        for (const char* drawn : {"/A", "/B", "/New"})
            text += drawn + (" " + test::ref(pdf.object("<< /Type /Font /Subtype /Type3 >>")));
        pdf.page("", text + " >> >>");
        auto page = pdf.file().getAllPages().front();
        resources = page.getKey("/Resources");
        for (const char* name : {"A", "B", "New", "W"})
            fonts.emplace(name, resources.getKey("/Font").getKey("/" + std::string(name)));
    }
};

Surroundings& surroundings() {
    static Surroundings only;
    return only;
}

// ---- Marks of links

// True if the rest is the whole with something left out.
bool isPartOf(const Words& rest, const Words& whole) {
    auto at = rest.begin();
    for (const Word& word : whole)
        if (at != rest.end() && *at == word) ++at;
    return at == rest.end();
}

// nullopt where the content cannot be followed.
std::optional<pdf::Marked> marksIn(std::string_view content) {
    static const pdf::LinkOfColour links{{0x336699, 0}, {0xFF0000, 1}};
    try {
        return pdf::readMarks(content, surroundings().resources, links);
    } catch (const pdf::UnreadableContent&) {
        return std::nullopt;
    }
}

void marks(std::string_view content) {
    const auto marked = marksIn(content);
    if (!marked || !marked->withoutMarks) return;
    holds(isPartOf(wordsOf(*marked->withoutMarks), wordsOf(content)), "marks are left out, and nothing is changed");
    const auto again = marksIn(*marked->withoutMarks);
    holds(again.has_value(), "content without its marks can be read");
    holds(again->pieces.empty(), "marks are taken at once");
    holds(again->forms.size() == marked->forms.size(), "what is drawn besides stays");
}

// ---- Glyphs in use, and content for other fonts

using Shown = std::map<std::string, pdf::CodeSet>;

// nullopt where it cannot be told.
std::optional<Shown> shownIn(std::string_view content) {
    pdf::GlyphUse use;
    use.read(content, surroundings().resources);
    holds(use.drawn().size() <= content.size(), "a glyph is shown by a byte");
    if (!use.isComplete()) return std::nullopt;
    Shown shown;
    for (auto& [name, font] : surroundings().fonts)
        if (const auto found = use.codesOf().find(font.getObjGen());
            found != use.codesOf().end() && found->second.any())
            shown.emplace(name, found->second);
    return shown;
}

// Not a bracket, not a backslash.
unsigned char newCode(int code) { return static_cast<unsigned char>(0x60 + code % 0x90); }

void recoded(std::string_view content) {
    static const auto codes = [] {
        std::map<int, unsigned char> all;
        for (int code = 0; code < 256; ++code) all.emplace(code, newCode(code));
        return all;
    }();
    const auto before = shownIn(content);
    const auto made = pdf::recoded(content, {{"A", {&codes, "New"}}, {"B", {&codes, "New"}}});
    if (!before || before->contains("New") || !made) return;
    Shown expected = *before;
    pdf::CodeSet joined;
    for (const char* font : {"A", "B"}) {
        if (const auto found = expected.find(font); found != expected.end())
            for (int code = 0; code < 256; ++code)
                if (found->second.test(static_cast<std::size_t>(code))) joined.set(newCode(code));
        expected.erase(font);
    }
    if (joined.any()) expected.emplace("New", joined);
    holds(shownIn(*made) == expected, "rewritten content shows the same in the new font, and the rest as before");
}

// ---- Clusters

// Without the marks round clusters, and with strings joined that those had cut in two.
Words withoutSpans(const Words& words) {
    Words kept;
    const auto isOperator = [](const Word& word, std::string_view op) {
        return word.kind == Token::Kind::word && word.text == op;
    };
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::size_t last = std::min(i + 9, words.size());
        std::size_t end = i;
        while (end < last && !isOperator(words[end], "BDC")) ++end;
        const bool isSpan = words[i].kind == Token::Kind::name && words[i].text == "Span" && end < last;
        if (isSpan)
            i = end;
        else if (!isOperator(words[i], "EMC"))
            kept.push_back(words[i]);
        while (kept.size() > 3 && isOperator(kept.back(), "Tj") && kept[kept.size() - 2].isHex &&
               isOperator(kept[kept.size() - 3], "Tj") && kept[kept.size() - 4].isHex) {
            kept[kept.size() - 4].text += kept[kept.size() - 2].text;
            kept.resize(kept.size() - 2);
        }
    }
    return kept;
}

void clusters(std::string_view content) {
    static const auto text = pdf::pageText("\u0939\u093f\u0928 \u0928\u093f");
    auto& file = surroundings().pdf.file();
    auto page = file.getAllPages().front();
    auto stream = page.getKey("/Contents");
    const auto none = QPDFObjectHandle::newNull();
    stream.replaceStreamData(std::string(content), none, none);
    pdf::Contents contents(file);
    pdf::FontTexts texts(file);
    pdf::nameClusters(contents, texts, text);
    const auto named = contents.textOf(*contents.find(stream));
    holds(withoutSpans(wordsOf(content)) == withoutSpans(wordsOf(*named)), "naming clusters adds names only");
}

}   // namespace

void run(ByteView input) {
    const std::string_view content = charsOf(input);
    wordsOf(content);
    marks(content);
    recoded(content);
    clusters(content);
}

std::vector<std::string> seeds() {
    return {"BT /A 9 Tf (a) Tj/B 8 Tf\n9 TL (b) Tj ET",
            "q 10 0 0 10 1 1 cm 0 0 4 2 re W n .2 .4 .6 RG .2 .4 .6 rg /F gs 1 1 9 9 re f Q /X Do",
            "1 0 0 rg /F gs 1 1 m 9 9 l 1 2 3 4 5 6 c h f* 0 g /O gs 0 0 9 9 re f (x) Tj",
            "BT /A 9 Tf <01> Tj /B 8 Tf (\\1\\)) Tj [<02> -20 (a)] TJ q /S 9 Tf (s) ' Q <03> Tj ET",
            "BT /W 9 Tf 0 0 Td <000300020001> Tj 9 0 Td <00030001> Tj <0001> Tj ET /A gs % x\n/P <</E [1]>> BDC EMC"};
}

}   // namespace ostrel::fuzz
