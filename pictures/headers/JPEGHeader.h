#pragma once

#include "pictures/headers/Size.h"
#include "platform/Bytes.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace ostrel::pictures {

// Which numbers a JPEG's components are.
enum class JPEGColours { grey, yCbCr, rgb, cmyk, ycck, other };

// How to turn the stored picture to see it upright, numbered as in EXIF 2.32 §4.6.4 (tag 0x0112).
enum class Orientation { upright = 1, mirrored, turnedHalf, flipped, transposed, turnedRight, transversed, turnedLeft };
constexpr bool swapsSides(Orientation orientation) { return orientation >= Orientation::transposed; }

// What stands before the first scan of a JPEG (ITU-T T.81 Annex B).
struct JPEGHeader {
    Size size;   // as stored
    Orientation orientation = Orientation::upright;
    JPEGColours colours = JPEGColours::other;
    bool isInverted = false;   // CMYK with 0 for full ink, as Adobe writes it
    std::optional<std::uint32_t>
        transform;          // what Adobe's segment says of the colours, 0 to 2; nullopt: there is none
    std::size_t bits = 8;   // a component
    // Baseline or progressive with Huffman codes: what a PDF takes (ISO 32000-1 §7.4.8) and what readers read.
    bool isCommon = false;
    std::string profile;            // ICC, put together; empty: none, or not all of it
    std::size_t scanStart = 0;      // of the first SOS marker
    std::size_t end = 0;            // behind the EOI marker; telephones append films. 0: it was cut short
    std::vector<ByteView> tables;   // the segments that the scans need, with their markers; within the picture
    Size naturalSize() const;       // upright
};

// nullopt where there is no frame or no scan.
std::optional<JPEGHeader> readJPEGHeader(ByteView picture);

// The same picture without what is not needed to decode it: camera data, thumbnails, comments, profile, what follows
// the end. Pieces of the picture, to be written one after the other. The header must be of this picture.
std::vector<ByteView> withoutMetadata(ByteView picture, const JPEGHeader& header);

}   // namespace ostrel::pictures
