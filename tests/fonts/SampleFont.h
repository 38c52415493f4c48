#pragma once

#include "fonts/FontCutter.h"

#include <string>

namespace ostrel::test {

// A TrueType font that holds nothing but a box for each character, from glyph 1 on in their order; no two boxes and no
// two advances are the same. 1000 units to the em.
std::string sampleFont(const fonts::Characters& characters);

}   // namespace ostrel::test
