#pragma once

#include "pictures/Kind.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

// The pictures of the program that decodes. Every function here may throw NotAPicture or std::bad_alloc.
namespace ostrel::pictures {

// Ends the decoding of one picture. TooLarge: it may be sound.
struct NotAPicture : std::runtime_error {
    using std::runtime_error::runtime_error;
};
struct TooLarge : NotAPicture {
    TooLarge() : NotAPicture("too large") {}
};

// Rows from top to bottom without gaps, 8 bits a channel, alpha last and not multiplied in.
struct Pixels {
    std::uint32_t width = 0, height = 0;
    std::size_t channels = 0;   // 1 grey, 2 grey and alpha, 3 RGB, 4 RGB and alpha
    std::string bytes;
    std::string profile;    // ICC; empty: sRGB
    bool isLossy = false;   // as it came: nothing is gained by keeping all that losses left
    bool hasAlpha() const { return channels % 2 == 0; }
    unsigned char* row(std::size_t y) { return reinterpret_cast<unsigned char*>(bytes.data()) + y * width * channels; }
    const unsigned char* row(std::size_t y) const {
        return reinterpret_cast<const unsigned char*>(bytes.data()) + y * width * channels;
    }
};

// Throws unless a picture may be so large. To be asked before a library takes memory for it.
void checkSize(std::uint64_t width, std::uint64_t height);

// A picture of this size, checked, all 0.
Pixels blank(std::uint64_t width, std::uint64_t height, std::size_t channels);

// Turned upright by a number as in EXIF's orientation, 1 to 8.
Pixels upright(Pixels stored, unsigned orientation);

// Without an alpha that is full everywhere, and without colours that are all grey.
Pixels reduced(Pixels pixels);

// A picture taken apart: its colours, and its alpha as grey.
struct Layers {
    Pixels colours, alpha;
};
Layers split(const Pixels& pixels);

}   // namespace ostrel::pictures
