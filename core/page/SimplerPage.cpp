#include "core/page/SimplerPage.h"

#include "core/page/BareHTML.h"
#include "core/page/HTMLText.h"
#include "core/page/MessageHTML.h"
#include "core/page/PageParts.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace ostrel::MessageHTML {
namespace {

// As strong as a rule can be: a mail's own rules are important, too. Words behind the edges of boxes come out.
constexpr std::string_view noEffects = R"(
*:not(#ostrel#ostrel#ostrel#ostrel) { filter: none !important; backdrop-filter: none !important; box-shadow: none !important; text-shadow: none !important; mix-blend-mode: normal !important; mask: none !important; -webkit-mask-box-image: none !important; -webkit-box-reflect: none !important; clip-path: none !important; animation: none !important; transition: none !important; transform: none !important; perspective: none !important; background-image: none !important; border-image: none !important; columns: auto !important; float: none !important; writing-mode: horizontal-tb !important; overflow: visible !important; clip: auto !important; max-height: none !important; text-indent: 0 !important; }
*:not(#ostrel#ostrel#ostrel#ostrel):not(img) { height: auto !important; }
*:not(#ostrel#ostrel#ostrel#ostrel)::before, *:not(#ostrel#ostrel#ostrel#ostrel)::after { content: none !important; }
svg:not(#ostrel#ostrel#ostrel#ostrel) { display: none !important; })";

constexpr std::string_view plainBegin = "<div class=\"plain\">";
constexpr std::string_view rowsEnd = "</header>";

// A text that keeps its lines is told so.
std::string wordsOfMail(std::string_view mail) {
    if (!mail.starts_with(plainBegin)) return html::textOf(mail);
    return html::textOf("<pre>" + std::string(mail) + "</pre>");
}

// Rows of a table, without the tabs behind their last cells.
std::string rowsOf(std::string_view table) {
    std::string rows;
    for (const char c : html::textOf(table)) {
        while (c == '\n' && rows.ends_with('\t')) rows.pop_back();
        rows += c;
    }
    return rows;
}

}   // namespace

std::optional<Page> simpler(const Page& page, Simplicity simplicity, std::string_view note) {
    std::string html = simplicity == Simplicity::bare ? page.html : wholeHTML(page);   // bare: no pictures
    const auto parts = partsOf(html);
    if (!parts || parts->mail.starts_with(plainBegin)) return std::nullopt;
    const auto offsetOf = [&](std::string_view part) { return static_cast<std::size_t>(part.data() - html.data()); };
    const std::size_t headEnd = offsetOf(parts->head) + parts->head.size();
    const std::size_t mail = offsetOf(parts->mail), mailSize = parts->mail.size();
    const std::size_t styleEnd = offsetOf(parts->styleSheet) + parts->styleSheet.size();
    // From the end to the beginning: what is before keeps its place.
    if (simplicity == Simplicity::bare)
        html.replace(mail, mailSize, "<div class=\"html\">" + html::bare(parts->mail) + "</div>");
    html.insert(headEnd, "<p class=\"note\">" + escape(note) + "</p>");
    if (simplicity == Simplicity::withoutEffects) html.insert(styleEnd, noEffects);
    Page made = makePage(std::move(html));
    made.language = page.language;
    made.savedFiles = page.savedFiles;
    return made;
}

PageWords wordsOf(const Page& page) {
    const auto parts = partsOf(page.html);
    if (!parts) return {.title = {}, .rows = {}, .notes = {}, .mail = page.text, .files = {}};
    const std::size_t notes = std::min(parts->head.find(rowsEnd), parts->head.size());
    const std::string header = rowsOf(parts->head.substr(0, notes));
    const std::size_t title = std::min(header.find('\n'), header.size());
    return {.title = header.substr(0, title),
            .rows = header.substr(std::min(title + 1, header.size())),
            .notes = html::textOf(parts->head.substr(notes)),
            .mail = wordsOfMail(parts->mail),
            .files = html::textOf(parts->files)};
}

bool isPlainText(const Page& page, std::size_t minBytes) {
    if (page.html.size() < minBytes) return false;
    const auto parts = partsOf(page.html);
    return parts && parts->mail.starts_with(plainBegin) && parts->mail.size() >= minBytes;
}

}   // namespace ostrel::MessageHTML
