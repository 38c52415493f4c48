#pragma once

#include "pdf/content/Streams.h"

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Of everything that pages draw with (fonts, pictures, graphics states, glyphs) and that is there several times, byte
// for byte, keeps one. Pages themselves stay apart even if they look the same. Returns the bytes of the streams that
// were dropped.
ByteChange shareTwins(QPDF& file);

}   // namespace ostrel::pdf
