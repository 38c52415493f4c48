#include "pictures/headers/JPEGHeader.h"

#include "pictures/headers/ByteReader.h"

#include <algorithm>
#include <map>
#include <utility>

namespace ostrel::pictures {
namespace {

using namespace std::string_view_literals;

enum Marker : std::uint32_t {   // ITU-T T.81 Table B.1
    sof0 = 0xC0,
    sof2 = 0xC2,
    dht = 0xC4,
    jpg = 0xC8,
    dac = 0xCC,
    sof15 = 0xCF,
    soi = 0xD8,
    eoi = 0xD9,
    sos = 0xDA,
    dqt = 0xDB,
    dri = 0xDD,
    app0 = 0xE0,
    app1 = 0xE1,
    app2 = 0xE2,
    app14 = 0xEE,
};

bool isFrame(std::uint32_t marker) {
    return marker >= sof0 && marker <= sof15 && marker != dht && marker != jpg && marker != dac;
}

struct Segment {
    std::uint32_t marker = 0;
    std::size_t start = 0, end = 0;   // marker and length included
    std::string_view content;
};

// FF marker length(2) content; fill bytes FF may stand before a marker. Ends before the first scan.
std::optional<Segment> segmentAt(std::string_view file, std::size_t at) {
    if (byteAt(file, at) != 0xFF) return std::nullopt;
    while (byteAt(file, at + 1) == 0xFF) ++at;
    Segment segment{byteAt(file, at + 1), at, at + 2, {}};
    const auto length = number16(file, at + 2);
    if (segment.marker < sof0 || (segment.marker >= 0xD0 && segment.marker <= eoi) || length < 2 ||
        at + 2 + length > file.size())
        return std::nullopt;
    segment.end = at + 2 + length;
    segment.content = file.substr(at + 4, length - 2);
    return segment;
}

// "Exif" 0 fill, then a TIFF header and its first directory: EXIF 2.32 §4.5. As the engine reads it: the entry counts
// only where it is one SHORT.
std::optional<Orientation> exifOrientation(std::string_view content) {
    if (!content.starts_with("Exif\0"sv) || content.size() < 14) return std::nullopt;
    const auto tiff = content.substr(6);
    if (!tiff.starts_with("II") && !tiff.starts_with("MM")) return std::nullopt;
    const auto order = tiff[0] == 'M' ? Order::bigEndian : Order::littleEndian;
    constexpr std::uint32_t answer = 42;
    const std::size_t directory = number32(tiff, 4, order);
    if (number16(tiff, 2, order) != answer || directory >= tiff.size()) return std::nullopt;
    constexpr std::size_t entryBytes = 12;
    constexpr std::uint32_t tag = 0x0112, shortType = 3;
    std::size_t at = directory + 2;
    for (auto left = number16(tiff, directory, order); left > 0 && at + entryBytes <= tiff.size(); --left) {
        if (number16(tiff, at, order) == tag && number16(tiff, at + 2, order) == shortType &&
            number32(tiff, at + 4, order) == 1) {
            const auto value = number16(tiff, at + 8, order);
            return value >= 1 && value <= 8 ? static_cast<Orientation>(value) : Orientation::upright;
        }
        at += entryBytes;
    }
    return std::nullopt;
}

// "ICC_PROFILE" 0 number count, part: ICC.1:2010 Annex B.4
class Profile {
public:
    void add(std::string_view content) {
        if (!content.starts_with("ICC_PROFILE\0"sv) || content.size() < 14) return;
        count_ = byteAt(content, 13);
        parts_.emplace(byteAt(content, 12), content.substr(14));
    }
    std::string whole() const {
        std::string all;
        if (parts_.size() != count_) return all;
        std::uint32_t expected = 1;
        for (const auto& [which, part] : parts_) {
            if (which != expected++) return {};
            all += part;
        }
        return all;
    }

private:
    std::map<std::uint32_t, std::string_view> parts_;
    std::uint32_t count_ = 0;
};

using Transform = std::optional<std::uint32_t>;   // 0: as they are, 1: YCbCr, 2: YCCK

// bits(1) height(2) width(2) components(1), then three bytes for each, its name first
struct Frame {
    std::uint32_t marker = 0;
    std::string_view content;
    std::uint32_t components() const { return byteAt(content, 5); }
    std::uint32_t name(std::size_t which) const { return byteAt(content, 6 + 3 * which); }
};

// As libjpeg guesses, which the engine uses.
JPEGColours coloursOf(const Frame& frame, bool isJFIF, Transform adobe) {
    switch (frame.components()) {
        case 1:
            return JPEGColours::grey;
        case 3:
            if (isJFIF) return JPEGColours::yCbCr;
            if (adobe) return *adobe == 0 ? JPEGColours::rgb : JPEGColours::yCbCr;
            return frame.name(0) == 'R' && frame.name(1) == 'G' && frame.name(2) == 'B' ? JPEGColours::rgb
                                                                                        : JPEGColours::yCbCr;
        case 4:
            return adobe == 2u ? JPEGColours::ycck : JPEGColours::cmyk;
        default:
            return JPEGColours::other;
    }
}

// Behind the EOI marker that follows the scans; 0 if there is none. Within a scan FF comes with 00 or a restart marker.
std::size_t endOf(std::string_view file, std::size_t at) {
    while ((at = file.find('\xFF', at)) != std::string_view::npos && at + 1 < file.size()) {
        const auto marker = byteAt(file, at + 1);
        if (marker == eoi) return at + 2;
        if (marker == 0xFF) {
            ++at;
            continue;
        }
        const auto segment = segmentAt(file, at);
        at = segment ? segment->end : at + 2;
    }
    return 0;
}

bool isNeeded(std::uint32_t marker, std::string_view content) {
    // JFIF and Adobe say which colours are meant.
    if (marker == app0) return content.starts_with("JFIF\0"sv);
    if (marker == app14) return content.starts_with("Adobe");
    return marker == dqt || marker == dht || marker == dri || marker == dac || isFrame(marker);
}

}   // namespace

Size JPEGHeader::naturalSize() const { return swapsSides(orientation) ? Size{size.height, size.width} : size; }

std::optional<JPEGHeader> readJPEGHeader(ByteView picture) {
    const auto file = charsOf(picture);
    JPEGHeader header;
    Frame frame;
    Profile profile;
    bool isJFIF = false;
    std::optional<Orientation> orientation;
    std::size_t at = 2;
    for (auto segment = segmentAt(file, at); segment && !header.scanStart; segment = segmentAt(file, at)) {
        const auto& [marker, start, end, content] = *segment;
        at = end;
        if (marker == sos) header.scanStart = start;
        if (marker == app0) isJFIF = isJFIF || content.starts_with("JFIF\0"sv);
        if (marker == app1 && !orientation) orientation = exifOrientation(content);
        if (marker == app2) profile.add(content);
        if (marker == app14 && content.starts_with("Adobe") && content.size() >= 12)
            header.transform = byteAt(content, 11);
        if (isFrame(marker)) frame = {marker, content};
        if (isNeeded(marker, content)) header.tables.push_back(picture.subspan(start, end - start));
    }
    if (!file.starts_with("\xFF\xD8") || !header.scanStart || frame.content.size() < 6) return std::nullopt;
    header.size = {number16(frame.content, 3), number16(frame.content, 1)};
    header.bits = byteAt(frame.content, 0);
    header.orientation = orientation.value_or(Orientation::upright);
    header.colours = coloursOf(frame, isJFIF, header.transform);
    header.isInverted = header.transform && frame.components() == 4;
    header.isCommon = frame.marker <= sof2 && header.bits == 8 && header.colours != JPEGColours::other;
    header.profile = profile.whole();
    header.end = endOf(file, header.scanStart);
    return header;
}

std::vector<ByteView> withoutMetadata(ByteView picture, const JPEGHeader& header) {
    constexpr std::size_t markerSize = 2;   // SOI
    std::vector<ByteView> kept = {picture.first(markerSize)};
    kept.insert(kept.end(), header.tables.begin(), header.tables.end());
    const auto end = header.end ? header.end : picture.size();
    kept.push_back(picture.subspan(header.scanStart, end - header.scanStart));
    return kept;
}

}   // namespace ostrel::pictures
