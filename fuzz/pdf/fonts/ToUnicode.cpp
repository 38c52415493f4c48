#include "pdf/fonts/ToUnicode.h"

#include "fuzz/Target.h"

#include <algorithm>

namespace ostrel::fuzz {
namespace {

std::string withLineEnds(std::string_view text, std::string_view lineEnd) {
    std::string result;
    for (const char c : text) c == '\n' ? result += lineEnd : result += c;
    return result;
}

}   // namespace

void run(ByteView input) {
    const std::string_view cmap = charsOf(input);
    auto map = pdf::parseToUnicode(cmap);
    if (!map) return;
    holds(map->codeBytes == 1 || map->codeBytes == 2, "codes have one byte or two");
    for (const auto& [code, text] : map->texts)
        holds(code >= 0 && code < 1 << 8 * map->codeBytes, "codes have as many bytes as the map says");
    const auto codes = static_cast<std::size_t>(std::ranges::count(cmap, '<'));
    holds(map->texts.size() <= codes * 256, "a range stays within the last byte");
    holds(pdf::parseToUnicode(withLineEnds(cmap, "\r\n")) == map, "lines end in either way");
    holds(pdf::parseToUnicode(pdf::makeToUnicode(*map)) == map, "a map that is written reads back");
    pdf::makeTyped(*map);
    holds(!pdf::makeTyped(*map), "typed text is as typed");
    holds(pdf::parseToUnicode(pdf::makeToUnicode(*map)) == map, "a map of typed text reads back");
}

std::vector<std::string> seeds() {
    pdf::CodeTexts texts;
    for (int code = 0; code < 120; ++code) texts[code] = code % 2 ? u"\u2f47" : u"\U0001f600";
    return {pdf::makeToUnicode({1, {{1, u"\ufedf"}, {2, u"ff"}}}), pdf::makeToUnicode({2, texts}),
            "1 begincodespacerange\n<00> <FF>\nendcodespacerange\n2 beginbfrange\n<50> <52> <00FD>\n<60> <60> "
            "<D83DDE00>\nendbfrange\nendcmap\n"};
}

}   // namespace ostrel::fuzz
