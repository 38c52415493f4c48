#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

// Folding for search. The folding of a text is the folding of its code points one after the other, since nearly all the
// marks that normalisation would reorder are dropped. So a table answers for the scripts that mail is written in.
namespace ostrel::text {
namespace {

// Letters and signs that have no decomposition, and what people type who do not have them on the keyboard.
struct Typed {
    char32_t letter;
    std::string_view typed;
};
constexpr auto typedForms = std::to_array<Typed>({
    {0x00C6, "ae"}, {0x00D0, "d"},  {0x00D8, "o"},  {0x00DE, "th"}, {0x00E6, "ae"}, {0x00F0, "d"},
    {0x00F8, "o"},  {0x00FE, "th"}, {0x0110, "d"},  {0x0111, "d"},  {0x0126, "h"},  {0x0127, "h"},
    {0x0131, "i"},  {0x0141, "l"},  {0x0142, "l"},  {0x0152, "oe"}, {0x0153, "oe"}, {0x0166, "t"},
    {0x0167, "t"},  {0x02BC, "'"},  {0x2010, "-"},  {0x2011, "-"},  {0x2012, "-"},  {0x2013, "-"},
    {0x2014, "-"},  {0x2015, "-"},  {0x2018, "'"},  {0x2019, "'"},  {0x201A, "'"},  {0x201B, "'"},
    {0x201C, "\""}, {0x201D, "\""}, {0x201E, "\""}, {0x201F, "\""}, {0x2044, "/"},  {0x2212, "-"},
});
static_assert(std::ranges::is_sorted(typedForms, {}, &Typed::letter));

// Accents, points and harakat go, and what nobody types because nobody sees it (soft hyphen, joiners, variation
// selectors). The vowel and tone signs of Indic scripts, Thai, Lao and Tibetan stay, since they make other words: they
// have combining class 0 or one of the classes that are theirs alone, 84 to 132.
bool isDropped(UChar32 c) {
    if (u_hasBinaryProperty(c, UCHAR_DEFAULT_IGNORABLE_CODE_POINT)) return true;
    const uint32_t category = U_GET_GC_MASK(c);
    if (category & U_GC_ME_MASK) return true;
    const int combiningClass = u_getCombiningClass(c);
    return (category & U_GC_M_MASK) != 0 && combiningClass != 0 && (combiningClass < 84 || combiningClass > 132);
}

// The full decomposition of a text by compatibility; without the library's tables, the text as it is.
icu::UnicodeString decomposed(const icu::UnicodeString& s) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* normalizer = icu::Normalizer2::getNFKDInstance(status);
    if (U_FAILURE(status)) return s;
    icu::UnicodeString result = normalizer->normalize(s, status);
    return U_SUCCESS(status) ? result : s;
}

std::string folded(char32_t codePoint) {
    icu::UnicodeString s = decomposed(icu::UnicodeString(static_cast<UChar32>(codePoint)));
    s.foldCase(U_FOLD_CASE_DEFAULT);
    s = decomposed(s);
    std::string out;
    for (int32_t i = 0; i < s.length(); i = s.moveIndex32(i, 1)) {
        const UChar32 c = s.char32At(i);
        if (isDropped(c)) continue;
        const auto letter = static_cast<char32_t>(c);
        const auto* form = std::ranges::lower_bound(typedForms, letter, {}, &Typed::letter);
        if (form != typedForms.end() && form->letter == letter)
            out += form->typed;
        else
            append(out, isWhiteSpace(letter) ? U' ' : letter);
    }
    return out;
}

// The foldings of Latin to the kana (U+0000 to U+33FF) and, behind them, of the full-width forms (U+FF00 to U+FFEF).
constexpr char32_t firstBlocksEnd = 0x3400, widthForms = 0xFF00, widthFormsEnd = 0xFFF0;
const std::vector<std::string>& foldingTable() {
    static const std::vector<std::string> table = [] {
        std::vector<std::string> made;
        made.reserve(firstBlocksEnd + (widthFormsEnd - widthForms));
        for (char32_t c = 0; c < firstBlocksEnd; ++c) made.push_back(folded(c));
        for (char32_t c = widthForms; c < widthFormsEnd; ++c) made.push_back(folded(c));
        return made;
    }();
    return table;
}

// Ideographs have no case and no decomposition.
bool isUnifiedIdeograph(char32_t c) { return c >= 0x4E00 && c <= 0x9FFF; }

// A Hangul syllable as its letters, which is its decomposition (Unicode 15, section 3.12).
bool isHangulSyllable(char32_t c) { return c >= 0xAC00 && c <= 0xD7A3; }
void appendLetters(std::string& out, char32_t syllable) {
    constexpr char32_t vowels = 21, finals = 28;   // one of the finals is "none"
    const char32_t index = syllable - 0xAC00;
    append(out, 0x1100 + index / (vowels * finals));
    append(out, 0x1161 + index / finals % vowels);
    if (index % finals != 0) append(out, 0x11A7 + index % finals);
}

void appendCollapsed(std::string& out, std::string_view part) {
    for (const char c : part)
        if (c != ' ' || !out.ends_with(' ')) out.push_back(c);
}

}   // namespace

std::string foldForSearch(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size();) {
        const char c = s[i];
        if (static_cast<unsigned char>(c) < 0x80) {
            ++i;
            if (c >= 'A' && c <= 'Z')
                out.push_back(static_cast<char>(c + ('a' - 'A')));
            else if (c != ' ' && (c < '\t' || c > '\r'))
                out.push_back(c);
            else if (!out.ends_with(' '))
                out.push_back(' ');
            continue;
        }
        const Decoded decoded = decodeAt(s, i);
        const char32_t letter = decoded.codePoint;
        if (letter < firstBlocksEnd)
            appendCollapsed(out, foldingTable()[letter]);
        else if (isUnifiedIdeograph(letter))
            out.append(s, i, decoded.length);
        else if (isHangulSyllable(letter))
            appendLetters(out, letter);
        else if (letter >= widthForms && letter < widthFormsEnd)
            appendCollapsed(out, foldingTable()[firstBlocksEnd + (letter - widthForms)]);
        else
            appendCollapsed(out, folded(letter));
        i += decoded.length;
    }
    return out;
}

}   // namespace ostrel::text
