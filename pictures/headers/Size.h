#pragma once

#include "platform/Bytes.h"

#include <cstdint>
#include <optional>

namespace ostrel::pictures {

struct Size {
    std::uint32_t width = 0, height = 0;   // pixels
    bool operator==(const Size&) const = default;
};

// Whether the engine draws pictures of this size at all.
bool isDrawn(const Size& size);

// How large the engine shows a JPEG, PNG, GIF, WebP or BMP where the page names no size: its pixels, upright. The
// engine turns JPEGs as their EXIF says and nothing else, and takes no notice of densities. nullopt for other kinds and
// where the header is damaged, cut short or says 0.
std::optional<Size> naturalSize(ByteView picture);

}   // namespace ostrel::pictures
