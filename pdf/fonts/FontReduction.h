#pragma once

#include "pdf/fonts/FontSubsetter.h"
#include "pdf/fonts/GlyphUse.h"

#include <cstddef>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

struct FontCounts {
    std::size_t reduced = 0, kept = 0;   // font programs
};

// Cuts the embedded fonts down to what use says is shown, and lets fonts with the same program have one. Every font
// that is anything but a plain TrueType font addressed by glyph number (ISO 32000-1 §9.7.4.2) is left as it is.
FontCounts reduceFonts(QPDF& file, const GlyphUse& use, FontSubsetter& subsetter);

}   // namespace ostrel::pdf
