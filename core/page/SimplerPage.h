#pragma once

#include "core/page/Page.h"

#include <optional>
#include <string_view>

namespace ostrel::MessageHTML {

// How much of a mail's look its page keeps, from the most to the least.
enum class Simplicity {
    withoutEffects,   // shadows, filters, masks, movement and the like, which cost an engine far more than their text
    textOnly          // no styles, pictures, tables or links: its words in our own layout
};

// Returns a message page in a simpler form, with a note that says so below its header; nullopt for any other page.
// Linear.
std::optional<Page> simpler(const Page& page, Simplicity simplicity, std::string_view note);

}   // namespace ostrel::MessageHTML
