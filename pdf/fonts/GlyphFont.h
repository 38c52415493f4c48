#pragma once

#include "fonts/HarfBuzz.h"

#include <qpdf/QPDFObjectHandle.hh>

namespace ostrel::pdf {

// The font program of a composite font whose codes are its glyphs, as the engine embeds them. Null for other fonts.
harfBuzz::FontPtr glyphFont(QPDFObjectHandle font);

}   // namespace ostrel::pdf
