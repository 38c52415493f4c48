#include "pictures/headers/ClaimedSize.h"

#include "pictures/Kind.h"
#include "pictures/headers/ByteReader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

namespace ostrel::pictures {
namespace {

// length(4) type(4) content, or 1 type(4) length(8) content; a length of 0 means all that is left: ISO 14496-12 §4.2
class Boxes {
public:
    explicit Boxes(std::string_view file) : rest_(file) {}

    struct Box {
        std::string_view type, content;   // as much as there is
        bool isWhole = true;
    };
    std::optional<Box> next() {
        constexpr std::size_t shortHeader = 8, longHeader = 16;
        if (rest_.size() < shortHeader) return std::nullopt;
        std::uint64_t length = number32(rest_, 0);
        const bool isLong = length == 1;
        if (isLong) length = std::uint64_t{number32(rest_, 8)} << 32 | number32(rest_, 12);
        if (length == 0) length = rest_.size();
        const std::size_t header = isLong ? longHeader : shortHeader;
        if (length < header || rest_.size() < header) return std::nullopt;
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(length, rest_.size()));
        const Box box{rest_.substr(4, 4), rest_.substr(header, size - header), length <= rest_.size()};
        rest_.remove_prefix(size);
        return box;
    }

private:
    std::string_view rest_;
};

// The content of the first box of a type; empty: there is none.
std::string_view contentOf(std::string_view boxes, std::string_view type) {
    Boxes all(boxes);
    while (const auto box = all.next())
        if (box->type == type) return box->content;
    return {};
}

// ISO 23008-12 §6.5.3, §6.5.10: of the picture, and of its tiles and its thumbnail, which are smaller.
std::optional<Size> heifSize(std::string_view file) {
    constexpr std::size_t versionAndFlags = 4;
    const auto meta = contentOf(file, "meta");
    const auto properties = contentOf(meta.substr(std::min(versionAndFlags, meta.size())), "iprp");
    Boxes all(contentOf(properties, "ipco"));
    std::optional<Size> largest;
    bool isTurned = false;
    while (const auto box = all.next()) {
        if (box->type == "irot") isTurned = byteAt(box->content, 0) % 2 == 1;   // quarters
        if (box->type != "ispe" || box->content.size() < 12) continue;
        const Size size{number32(box->content, 4), number32(box->content, 8)};
        if (!largest || std::uint64_t{size.width} * size.height > std::uint64_t{largest->width} * largest->height)
            largest = size;
    }
    if (largest && isTurned) std::swap(largest->width, largest->height);
    return largest;
}

// ISO 15444-1 §I.5.3.1; of a codestream without boxes §A.5.1
std::optional<Size> jpeg2000Size(std::string_view file) {
    if (file.starts_with("\xFF\x4F"))
        return Size{number32(file, 8) - number32(file, 16), number32(file, 12) - number32(file, 20)};
    const auto header = contentOf(contentOf(file, "jp2h"), "ihdr");
    if (header.size() < 8) return std::nullopt;
    return Size{number32(header, 4), number32(header, 0)};
}

// TIFF 6.0 §2: of the first page; the kind with 64-bit offsets is rare.
std::optional<Size> tiffSize(std::string_view file) {
    const auto order = file.starts_with("II") ? Order::littleEndian : Order::bigEndian;
    constexpr std::uint32_t magic = 42, entryBytes = 12, shortNumber = 3, imageWidth = 256, imageLength = 257,
                            orientation = 274;
    if (number16(file, 2, order) != magic) return std::nullopt;
    const std::size_t directory = number32(file, 4, order), count = number16(file, directory, order);
    Size size;
    bool isTurned = false;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + 2 + i * entryBytes;
        const auto tag = number16(file, entry, order), type = number16(file, entry + 2, order);
        const auto value = type == shortNumber ? number16(file, entry + 8, order) : number32(file, entry + 8, order);
        if (tag == imageWidth) size.width = value;
        if (tag == imageLength) size.height = value;
        if (tag == orientation) isTurned = value >= 5 && value <= 8;
    }
    if (isTurned) std::swap(size.width, size.height);
    return size;
}

// Left, bottom, right, top, in points (ISO 32000-1 §7.7.3.3), if they are not packed.
std::optional<Size> pdfSize(std::string_view file) {
    constexpr std::string_view key = "/MediaBox";
    const auto found = file.find(key);
    if (found == file.npos) return std::nullopt;
    constexpr std::size_t longest = 100;
    auto text = file.substr(found + key.size(), longest);
    double sides[4] = {};
    for (double& side : sides) {
        text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n["), text.size()));
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), side);
        if (error != std::errc()) return std::nullopt;
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    }
    const double width = std::abs(sides[2] - sides[0]), height = std::abs(sides[3] - sides[1]);
    constexpr double maxSide = 14'400;   // Annex C.2
    if (!(width <= maxSide && height <= maxSide)) return std::nullopt;
    return Size{static_cast<std::uint32_t>(std::lround(width)), static_cast<std::uint32_t>(std::lround(height))};
}

std::optional<Size> anySize(Kind kind, std::string_view file) {
    switch (kind) {
        case Kind::heic:
        case Kind::avif:
            return heifSize(file);
        case Kind::jpeg2000:
            return jpeg2000Size(file);
        case Kind::tiff:
            return tiffSize(file);
        case Kind::pdf:
            return pdfSize(file);
        default:
            return std::nullopt;
    }
}

}   // namespace

std::optional<Size> claimedSize(ByteView picture) {
    const auto size = anySize(kindOf(picture), charsOf(picture));
    constexpr std::uint32_t max = std::numeric_limits<std::int32_t>::max();
    const bool isSane = size && size->width > 0 && size->height > 0 && size->width <= max && size->height <= max;
    return isSane ? size : std::nullopt;
}

bool isCutShort(ByteView picture) {
    Boxes all(charsOf(picture));
    while (const auto box = all.next())
        if (!box->isWhole) return true;
    return false;
}

}   // namespace ostrel::pictures
