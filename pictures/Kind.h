#pragma once

#include "platform/Bytes.h"

namespace ostrel::pictures {

enum class Kind { unknown, jpeg, png, gif, webp, avif, bmp, ico, svg, heic, tiff, jpeg2000, pdf };

// What the bytes are, whatever type somebody wrote beside them. Only their beginning is read: what follows may be cut
// short or damaged.
Kind kindOf(ByteView picture);

// Shown on a Mac, and by the engine only after Decoder has made something else of it.
constexpr bool isForeign(Kind kind) {
    return kind == Kind::heic || kind == Kind::tiff || kind == Kind::jpeg2000 || kind == Kind::pdf;
}

}   // namespace ostrel::pictures
