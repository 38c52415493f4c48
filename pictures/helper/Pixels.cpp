#include "pictures/helper/Pixels.h"

#include "pictures/Wire.h"

#include <cstring>
#include <utility>

namespace ostrel::pictures {
namespace {

// Keeps of every pixel the channels from `first` on, `count` of them.
Pixels channelsOf(const Pixels& from, std::size_t first, std::size_t count) {
    Pixels to = blank(from.width, from.height, count);
    const std::size_t pixels = std::size_t{from.width} * from.height;
    const char* in = from.bytes.data() + first;
    char* out = to.bytes.data();
    for (std::size_t i = 0; i < pixels; ++i, in += from.channels, out += count) std::memcpy(out, in, count);
    to.isLossy = from.isLossy;
    return to;
}

bool isOpaque(const Pixels& pixels) {
    for (std::size_t at = pixels.channels - 1; at < pixels.bytes.size(); at += pixels.channels)
        if (pixels.bytes[at] != '\xFF') return false;
    return true;
}

bool isGrey(const Pixels& pixels) {
    for (std::size_t at = 0; at < pixels.bytes.size(); at += pixels.channels)
        if (pixels.bytes[at] != pixels.bytes[at + 1] || pixels.bytes[at] != pixels.bytes[at + 2]) return false;
    return true;
}

}   // namespace

void checkSize(std::uint64_t width, std::uint64_t height) {
    if (width == 0 || height == 0) throw NotAPicture("no size");
    if (width > wire::maxPixels || height > wire::maxPixels || width * height > wire::maxPixels) throw TooLarge();
}

Pixels blank(std::uint64_t width, std::uint64_t height, std::size_t channels) {
    checkSize(width, height);
    Pixels made{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height), channels, {}, {}, false};
    made.bytes.resize(width * height * channels);
    return made;
}

Pixels upright(Pixels stored, unsigned orientation) {
    if (orientation < 2 || orientation > 8) return stored;
    const bool swapsSides = orientation >= 5;
    const auto width = stored.width, height = stored.height;
    auto turned = swapsSides ? blank(height, width, stored.channels) : blank(width, height, stored.channels);
    turned.profile = std::move(stored.profile);
    turned.isLossy = stored.isLossy;
    const bool mirrorsX = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool mirrorsY = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    for (std::uint32_t y = 0; y < turned.height; ++y) {
        for (std::uint32_t x = 0; x < turned.width; ++x) {
            std::uint32_t fromX = swapsSides ? y : x, fromY = swapsSides ? x : y;
            if (mirrorsX) fromX = width - 1 - fromX;
            if (mirrorsY) fromY = height - 1 - fromY;
            std::memcpy(turned.row(y) + x * stored.channels, stored.row(fromY) + fromX * stored.channels,
                        stored.channels);
        }
    }
    return turned;
}

Pixels reduced(Pixels pixels) {
    auto profile = std::move(pixels.profile);
    if (pixels.hasAlpha() && isOpaque(pixels)) pixels = channelsOf(pixels, 0, pixels.channels - 1);
    // A profile for colours says nothing about greys.
    if (pixels.channels == 3 && profile.empty() && isGrey(pixels)) pixels = channelsOf(pixels, 0, 1);
    pixels.profile = std::move(profile);
    return pixels;
}

Layers split(const Pixels& pixels) {
    Layers layers{channelsOf(pixels, 0, pixels.channels - 1), channelsOf(pixels, pixels.channels - 1, 1)};
    layers.colours.profile = pixels.profile;
    return layers;
}

}   // namespace ostrel::pictures
