#pragma once

#include "pictures/headers/Size.h"
#include "platform/Bytes.h"

#include <optional>

namespace ostrel::pictures {

// What HEIC, AVIF, TIFF, JPEG 2000 and PDF say of their size, upright and of the first page, whether or not they can be
// decoded: how much room they are to have. nullopt for other kinds and where they say nothing.
std::optional<Size> claimedSize(ByteView picture);

// Whether a file of boxes, as HEIC and AVIF are, ends before its last box does.
bool isCutShort(ByteView picture);

}   // namespace ostrel::pictures
