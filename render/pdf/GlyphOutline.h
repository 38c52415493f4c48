#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ostrel::pdf {

// A glyph of a Type 3 font (ISO 32000-1 §9.6.5) that fills one path, without what filling closes by itself. Nothing
// when it draws anything else.
std::optional<std::string> shorterOutline(std::string_view glyph);

}   // namespace ostrel::pdf
