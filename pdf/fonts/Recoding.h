#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel::pdf {

// What a font with codes of one byte becomes, in the content's own names.
struct NewFont {
    const std::map<int, unsigned char>* codes;   // from its codes; none of the new ones is a bracket or a backslash
    std::string name;
};
using NewFonts = std::map<std::string, NewFont, std::less<>>;   // by the old names

// Returns the content showing the new fonts instead of the old ones, each set only where it changes. nullopt if the
// content cannot be followed or depends on the codes in another way. Linear in the content.
std::optional<std::string> recoded(std::string_view content, const NewFonts& newFonts);

}   // namespace ostrel::pdf
