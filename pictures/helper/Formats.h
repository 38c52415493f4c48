#pragma once

#include "pictures/headers/Size.h"
#include "pictures/helper/Pixels.h"
#include "platform/Bytes.h"

#include <optional>
#include <string>

// One function for each library; all throw as Pixels.h says.
namespace ostrel::pictures {

Pixels decodeHEIF(ByteView picture);   // HEIC, turned upright
Pixels decodeTIFF(ByteView picture);   // the first page, turned upright
Pixels decodeJPEG2000(ByteView picture);
Pixels decodePNG(ByteView picture);
// Of a large PNG with alpha, its colours and its alpha as PNGs, which is done in a tenth of the time that decoding and
// packing takes. No alpha where it is full everywhere. nullopt: it is to be decoded.
struct Planes {
    Size size;
    std::string colours, alpha;
};
std::optional<Planes> planesOfPNG(ByteView picture);
Pixels decodeGIF(ByteView picture);   // the first picture, as WebP
Pixels decodeWebP(ByteView picture);

// A JPEG that ends within its pixels, as one that ends with them; and a mask, as stored, of the rows that are there.
// None where all are, if not in full detail.
struct Completed {
    std::string file, mask;
};
Completed completedJPEG(ByteView picture);

struct Drawing {
    std::uint32_t width = 0, height = 0;   // points
    std::string svg;
};
Drawing drawPDF(ByteView document);   // the first page

// Before the wall is closed: what these libraries load when they are first used, fonts for the texts of PDFs too.
void warmUp();

}   // namespace ostrel::pictures
