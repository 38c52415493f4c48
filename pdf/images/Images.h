#pragma once

#include <cstddef>
#include <string_view>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// Puts the JPEGs in the page's data: addresses back where the engine embedded exactly their pixels, and packs the other
// pictures better. Answers how many JPEGs went in.
std::size_t packImages(QPDF& file, std::string_view html);

}   // namespace ostrel::pdf
