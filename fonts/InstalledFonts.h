#pragma once

#include "fonts/EastAsianText.h"

#include <filesystem>
#include <set>
#include <string>
#include <vector>

using FcConfig = struct _FcConfig;

// Which of the fonts that fontconfig knows print mail, and how. What a name stands for on a system is for fontconfig to
// say.
namespace ostrel::fonts {

// The TrueType fonts that stand for the families that mail names, where a reduced copy is worth while.
std::set<std::filesystem::path> textFonts(FcConfig* config);

// Fonts that the engine would draw glyph by glyph and that are not needed.
std::set<std::filesystem::path> needlessDrawnFonts(FcConfig* config);

// A face for East Asian text, which has tens of thousands of glyphs, in portions of which a page needs one or two.
struct PortionedFace {
    std::filesystem::path file;
    int index = 0;                        // in the file
    std::vector<std::string> families;    // its names
    std::vector<std::string> languages;   // that the portions are for, in fontconfig's names
    std::vector<Writing> kinds;           // of text that they are for
};

// Each weight's face for text whose language is unknown comes first.
std::vector<PortionedFace> eastAsianFaces(FcConfig* config);

}   // namespace ostrel::fonts
