#pragma once

#include <optional>
#include <string_view>

namespace ostrel::MessageHTML {

// A message page, taken apart into what is ours and what the mail made of it.
struct PageParts {
    std::string_view styleSheet;   // ours, without its tags
    std::string_view head;         // the header and the notes
    std::string_view mail;         // what the mail made, in its box
    std::string_view document;     // the page from its beginning to the end of the mail: all but what is ours below it
    std::string_view files;        // the list of attachments; empty if there is none
};

// Returns the parts of a page that page() made, also with rules added to its style sheet; they point into it. A mail
// cannot move the seams, whatever tags it opens and closes: everything of ours was escaped when it was written, and the
// mail stands between. nullopt for any other text.
std::optional<PageParts> partsOf(std::string_view page);

}   // namespace ostrel::MessageHTML
