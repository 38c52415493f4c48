#pragma once

#include "pdf/tags/Elements.h"
#include "pdf/tags/Outline.h"
#include "pdf/tags/PaintedContent.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace ostrel::pdf {

// What a page shows, in the order painted.
struct PaintedPage {
    std::vector<Painted> painted;
    std::vector<std::optional<std::size_t>> links;   // by annotation, LinkMark::element
};

// A stretch of a page's content, whole operations.
struct Mark {
    std::size_t begin = 0, end = 0;
    std::optional<std::size_t> number{};   // of marked content, from 0 on each page; nullopt: an artifact
};

// What a page's content lacks for its text to be whole: the engine shows no blank where a line ends.
struct AddedBlank {
    std::size_t at = 0;
    std::string_view operation;   // Painted::blank
};

// What of the pages is read, in which order, as what. Everything painted is in one mark.
struct Structure {
    std::vector<Element> elements{{"Document"}};
    std::vector<std::vector<Mark>> marks{};   // by page, in the order painted
    std::vector<Heading> headings{};
    std::vector<std::vector<AddedBlank>> blanks{};   // by page, in any order; may be shorter
};

// Of pages of which nothing else is known: every line is a paragraph, in the order painted, and every link stands
// behind the text of its page.
Structure flatStructure(const std::vector<PaintedPage>& pages);

}   // namespace ostrel::pdf
