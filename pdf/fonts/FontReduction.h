#pragma once

#include "pdf/content/Streams.h"
#include "pdf/fonts/FontSubsetter.h"
#include "pdf/fonts/GlyphUse.h"

#include <cstddef>
#include <string>
#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

struct FontCounts {
    std::size_t reduced = 0;         // font programs
    std::vector<std::string> kept;   // the others, each with the reason
    ByteChange bytes;
};

// Cuts the embedded fonts down to what use says is shown, and lets fonts with the same program share one. Every font
// that is anything but a plain TrueType font addressed by glyph number (ISO 32000-1 §9.7.4.2) is left as it is.
FontCounts reduceFonts(QPDF& file, const GlyphUse& use, FontSubsetter& subsetter);

}   // namespace ostrel::pdf
