#pragma once

#include "core/page/Page.h"

#include <cstddef>
#include <span>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Puts the page's JPEGs back where the engine embedded exactly their pixels, and packs the other pictures better.
// Returns the number of JPEGs put back.
std::size_t packImages(QPDF& file, std::span<const PagePicture> pictures);

}   // namespace ostrel::pdf
