#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace ostrel::html {

struct CharacterReference {
    char32_t character = 0;
    std::size_t length = 0;   // in bytes, from "&" to the ";" or, where that is missing, to the last digit or letter
};

// Returns the character reference that the text begins with: a number, "apos", or a name of HTML 4.01 section 24. As in
// browsers, numbers and the older names need no ";". nullopt if the text begins with no reference.
std::optional<CharacterReference> characterReference(std::string_view text);

}   // namespace ostrel::html
