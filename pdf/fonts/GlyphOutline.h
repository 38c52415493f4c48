#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ostrel::pdf {

// Shortens a glyph of a Type 3 font (ISO 32000-1 §9.6.5) that fills at most one path: leaves out what filling closes by
// itself and writes rectangles as such. nullopt if the glyph draws anything else. Linear in the glyph.
std::optional<std::string> shorterOutline(std::string_view glyph);

// Turns such an outline upside down, for a font whose matrix turns it back. Most of a glyph lies above its line, so its
// heights lose their signs.
std::string upsideDown(std::string_view outline);

}   // namespace ostrel::pdf
