#pragma once

#include "pictures/Kind.h"

#include <cstddef>
#include <cstdint>

// What goes between Decoder and the program that decodes for it, over one socket: a Request and the picture, then an
// Answer and what it names, in turns, until one side closes. Both are of one build on one machine, so numbers are as
// they lie in memory.
namespace ostrel::pictures::wire {

// Larger pictures are refused unread. 64 million pixels are the largest sensors of telephones and cameras.
inline constexpr std::uint64_t maxPixels = std::uint64_t{1} << 26;
inline constexpr std::uint64_t maxPictureBytes = std::uint64_t{1} << 28;
inline constexpr std::uint64_t maxAnswerBytes = std::uint64_t{1} << 28;   // of picture and mask together

// The program's exit status where it could not shut itself in: it then decodes nothing.
inline constexpr int cannotStart = 3;

enum class Outcome : std::uint32_t { decoded, damaged, tooLarge };

struct Request {
    std::uint32_t splitsAlpha;    // 0 or 1
    std::uint32_t milliseconds;   // of processor time
    std::uint64_t bytes;          // of the picture
};

struct Answer {
    Outcome outcome;
    Kind kind;                     // jpeg, png or svg
    std::uint32_t width, height;   // as it is to be shown
    std::uint64_t bytes, maskBytes;
};

}   // namespace ostrel::pictures::wire
