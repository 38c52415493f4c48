#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace ostrel::html {

struct CharacterReference {
    char32_t character = 0;
    std::size_t length = 0;   // in bytes, from "&" to the ";" or, where that is missing, to the last digit or letter
};

// The character reference that the text begins with: a number, or one of the names of HTML 4.01 section 24 and
// "apos". Browsers need no ";" behind numbers and the older names, so none is asked for. nullopt: text begins with a
// mere "&".
std::optional<CharacterReference> characterReference(std::string_view text);

}   // namespace ostrel::html
