#pragma once

#include "pdf/images/Original.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

class QPDF;

namespace ostrel::pdf {

class Contents;
class LateData;

// A picture that the engine never saw. In its place the page had a drawing of the picture's natural size: one rectangle
// over all of it, of a colour of its own.
struct PlacedPicture {
    std::uint32_t colour = 0;   // 0xRRGGBB
    Original original;
    bool isSeen = false;   // the page shows it: its rectangle must have come back
    std::string name{};    // of its file; empty: none
};

// Draws the originals where their rectangles were filled, each picture held once. Returns the colours, ascending, of
// those that did not come back as rectangles alone: what the engine made a raster of keeps the colours. If there are
// any, the file must not be used; the page is to be printed again with those pictures in it. All of them where the
// file's content is not understood.
std::vector<std::uint32_t> placePictures(QPDF& file, Contents& contents, std::span<const PlacedPicture> pictures,
                                         LateData& late);

}   // namespace ostrel::pdf
