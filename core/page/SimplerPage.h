#pragma once

#include "core/page/Page.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel::MessageHTML {

// How much of a mail's look its page keeps, from the most to the least.
enum class Simplicity {
    withoutEffects,   // shadows, filters, masks, movement and the like, which cost an engine far more than their text
    bare              // its text, paragraphs, lists, tables and links; no styles, no pictures
};

// Returns a message page in a simpler form, with a note that says so below its header; nullopt for any other page and
// for one of plain text, which has no simpler form. Linear.
std::optional<Page> simpler(const Page& page, Simplicity simplicity, std::string_view note);

// What is read on a page, by its parts: UTF-8, a line for each paragraph, tabs between the cells of a row.
struct PageWords {
    std::string title, rows, notes, mail, files;
};
// Of a page that is none of a message's all is in mail. Linear.
PageWords wordsOf(const Page& page);

// Whether the message came as plain text and has at least so many bytes of it.
bool isPlainText(const Page& page, std::size_t minBytes);

}   // namespace ostrel::MessageHTML
