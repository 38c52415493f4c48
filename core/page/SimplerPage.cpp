#include "core/page/SimplerPage.h"

#include "core/page/HTMLText.h"
#include "core/page/MessageHTML.h"
#include "core/page/PageParts.h"
#include "platform/Text.h"

#include <cstddef>
#include <string>

namespace ostrel::MessageHTML {
namespace {

// As strong as a rule can be: a mail's own rules are important, too.
constexpr std::string_view noEffects = R"(
*:not(#ostrel#ostrel#ostrel#ostrel) { filter: none !important; backdrop-filter: none !important; box-shadow: none !important; text-shadow: none !important; mix-blend-mode: normal !important; mask: none !important; -webkit-mask-box-image: none !important; -webkit-box-reflect: none !important; clip-path: none !important; animation: none !important; transition: none !important; transform: none !important; perspective: none !important; background-image: none !important; border-image: none !important; columns: auto !important; float: none !important; writing-mode: horizontal-tb !important; }
*:not(#ostrel#ostrel#ostrel#ostrel)::before, *:not(#ostrel#ostrel#ostrel#ostrel)::after { content: none !important; }
svg:not(#ostrel#ostrel#ostrel#ostrel) { display: none !important; })";

constexpr std::string_view plainBegin = "<div class=\"plain\">";

// What is read of the mail. A text that keeps its lines is told so.
std::string wordsOf(std::string_view mail) {
    if (!mail.starts_with(plainBegin)) return html::textOf(mail);
    return html::textOf("<pre>" + std::string(mail) + "</pre>");
}

// Words of megabytes, or as many marks on one letter, cost an engine time that grows with the square of their length.
// They get a new line before a letter or digit where there is one soon, else anywhere.
std::string withoutEndlessWords(std::string_view words) {
    constexpr std::size_t wishedLength = 1000, maxLength = 1200;   // in characters
    std::string broken;
    broken.reserve(words.size() + words.size() / wishedLength);
    std::size_t length = 0;
    for (std::size_t at = 0; at < words.size();) {
        const auto [character, bytes] = text::decodeAt(words, at);
        if (text::isWhiteSpace(character)) {
            length = 0;
        } else if (length >= maxLength || (length >= wishedLength && text::isWordCharacter(character))) {
            broken += '\n';
            length = 1;
        } else {
            ++length;
        }
        broken.append(words, at, bytes);
        at += bytes;
    }
    return broken;
}

}   // namespace

std::optional<Page> simpler(const Page& page, Simplicity simplicity, std::string_view note) {
    std::string html = wholeHTML(page);
    const auto parts = partsOf(html);
    if (!parts) return std::nullopt;
    const auto offsetOf = [&](std::string_view part) { return static_cast<std::size_t>(part.data() - html.data()); };
    const std::size_t headEnd = offsetOf(parts->head) + parts->head.size();
    const std::size_t mail = offsetOf(parts->mail), mailEnd = mail + parts->mail.size();
    const std::size_t styleEnd = offsetOf(parts->styleSheet) + parts->styleSheet.size();
    // From the end to the beginning: what is before keeps its place.
    if (simplicity == Simplicity::textOnly)
        html.replace(mail, mailEnd - mail,
                     std::string(plainBegin) + escape(withoutEndlessWords(wordsOf(parts->mail))) + "</div>");
    html.insert(headEnd, "<p class=\"note\">" + escape(note) + "</p>");
    if (simplicity == Simplicity::withoutEffects) html.insert(styleEnd, noEffects);
    return makePage(std::move(html));
}

}   // namespace ostrel::MessageHTML
