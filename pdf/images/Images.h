#pragma once

#include "pdf/content/Streams.h"

#include <cstddef>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

struct ImageCounts {
    std::size_t tooLarge = 0;   // left as the engine packed them
    ByteChange bytes;
};

// Packs the pictures better that the engine drew itself: shadows, and what its filters and masks made.
ImageCounts packImages(QPDF& file);

}   // namespace ostrel::pdf
