#pragma once

#include "core/page/Page.h"
#include "pdf/content/Streams.h"

#include <cstddef>
#include <span>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

struct ImageCounts {
    std::size_t restored = 0;   // JPEGs put back
    std::size_t tooLarge = 0;   // left as the engine packed them
    ByteChange bytes;
};

// Puts the page's JPEGs back where the engine embedded exactly their pixels, and packs the other pictures better.
ImageCounts packImages(QPDF& file, std::span<const PagePicture> pictures);

}   // namespace ostrel::pdf
