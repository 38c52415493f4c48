#include "render/pdf/GlyphOutline.h"

#include "render/pdf/PdfTokens.h"

#include <algorithm>
#include <array>

namespace ostrel::pdf {

// The last line back to the beginning of a path is not needed either, but without it some viewers place the edges of a
// few pixels differently.
std::optional<std::string> shorterOutline(std::string_view glyph) {
    static constexpr std::array<std::string_view, 5> lines{"m", "l", "c", "v", "y"};
    std::string text;
    text.reserve(glyph.size());
    std::string_view last;
    Tokens tokens(glyph);
    while (const auto token = tokens.next()) {
        if (token->kind != Token::Kind::word || last == "f") return std::nullopt;
        if (!token->isNumber()) {
            const bool isFirst = last.empty(), isKnown = std::ranges::find(lines, token->text) != lines.end();
            if (isFirst ? token->text != "d1" : !isKnown && token->text != "h" && token->text != "f")
                return std::nullopt;
            last = token->text;
            if (last == "h") continue;
        }
        if (!text.empty()) text += ' ';
        text += token->text;
    }
    if (last != "f" || tokens.isBroken()) return std::nullopt;
    return text;
}

}   // namespace ostrel::pdf
