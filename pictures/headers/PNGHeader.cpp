#include "pictures/headers/PNGHeader.h"

#include "pictures/headers/ByteReader.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>

namespace ostrel::pictures {
namespace {

constexpr std::string_view signature = "\x89PNG\r\n\x1A\n";

// Which bit depths go with a colour type (PNG 1.2 §4.1.1).
bool isAllowed(std::uint32_t colours, std::uint32_t bits) {
    switch (colours) {
        case 0:
            return bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16;
        case 3:
            return bits == 1 || bits == 2 || bits == 4 || bits == 8;
        case 2:
        case 4:
        case 6:
            return bits == 8 || bits == 16;
        default:
            return false;
    }
}

// width(4) height(4) bits colours compression filter interlace
std::optional<PNGHeader> readIHDR(std::string_view content) {
    constexpr std::size_t length = 13;
    const auto bits = byteAt(content, 8), colours = byteAt(content, 9), interlace = byteAt(content, 12);
    if (content.size() != length || !isAllowed(colours, bits) || byteAt(content, 10) != 0 || byteAt(content, 11) != 0 ||
        interlace > 1)
        return std::nullopt;
    PNGHeader header;
    header.size = {number32(content, 0), number32(content, 4)};
    header.bits = bits;
    header.colours = static_cast<PNGColours>(colours);
    header.isInterlaced = interlace == 1;
    return header;
}

void take(PNGHeader& header, std::string_view type, std::string_view content) {
    if (type == "IDAT") header.data.push_back(content);
    if (!header.data.empty()) return;   // what describes the pixels stands before them
    if (type == "PLTE") header.palette = content.substr(0, content.size() / 3 * 3);
    if (type == "tRNS") header.tRNS = content;
    if (type == "gAMA" && content.size() == 4) header.gamma = number32(content, 0);
    if (type == "iCCP") header.profile = content;
    if (type == "sRGB") header.isSRGB = true;
    if (type == "acTL") header.isAnimated = true;
}

}   // namespace

bool PNGHeader::hasPlainGamma() const {
    constexpr int gammaOfSRGB = 45'455, near = 500;
    return isSRGB || profile || !gamma || std::abs(static_cast<int>(*gamma) - gammaOfSRGB) < near;
}

std::optional<PNGHeader> readPNGHeader(ByteView picture) {
    const auto file = charsOf(picture);
    if (!file.starts_with(signature)) return std::nullopt;
    std::optional<PNGHeader> header;
    constexpr std::size_t around = 12;   // length(4) type(4) content check(4)
    for (std::size_t at = signature.size(); at + around <= file.size();) {
        const std::size_t length = number32(file, at);
        if (length > file.size() - at - around) break;
        const auto type = file.substr(at + 4, 4), content = file.substr(at + 8, length);
        if (!header) {
            header = type == "IHDR" ? readIHDR(content) : std::nullopt;
            if (!header) return std::nullopt;
        } else {
            take(*header, type, content);
        }
        at += around + length;
        if (type != "IEND") continue;
        header->isWhole = true;
        break;
    }
    return header;
}

}   // namespace ostrel::pictures
