#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ostrel::pdf {

// A glyph of a Type 3 font (ISO 32000-1 §9.6.5) that fills at most one path, in as few bytes as draw the same: without
// what filling closes by itself, rectangles as such. Nothing when it draws anything else. Linear in the glyph.
std::optional<std::string> shorterOutline(std::string_view glyph);

// Such an outline upside down, for a font whose matrix turns it back. Most of a glyph lies above its line, so that its
// heights lose their signs.
std::string upsideDown(std::string_view outline);

}   // namespace ostrel::pdf
