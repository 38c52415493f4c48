#include "pdf/images/Original.h"

#include "pdf/content/Deflate.h"
#include "pdf/content/LateData.h"
#include "pictures/Kind.h"
#include "pictures/headers/Profile.h"

#include <string_view>
#include <utility>
#include <vector>

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>

namespace ostrel::pdf {
namespace {

using pictures::JPEGColours;
using pictures::JPEGHeader;
using pictures::Orientation;
using pictures::PNGColours;
using pictures::PNGHeader;

// Of colours: grey, RGB or CMYK.
int channelsOf(const JPEGHeader& header) {
    switch (header.colours) {
        case JPEGColours::grey:
            return 1;
        case JPEGColours::cmyk:
        case JPEGColours::ycck:
            return 4;
        default:
            return 3;
    }
}

int channelsOf(const PNGHeader& header) { return header.colours == PNGColours::rgb ? 3 : 1; }

std::string_view spaceOf(int channels) { return channels == 1 ? "GRAY" : channels == 3 ? "RGB " : "CMYK"; }

std::string worthKeeping(std::string profile, std::string_view space) {
    return pictures::isProfileFor(space, profile) && !pictures::isSRGB(profile) ? profile : std::string();
}

// Readers of PDFs go by Adobe's segment, or by the number of channels (ISO 32000-1 §7.4.8); the engine by JFIF first.
bool isReadAlike(const JPEGHeader& header) {
    const bool isTransformed = header.colours == JPEGColours::yCbCr || header.colours == JPEGColours::ycck;
    return !header.transform || isTransformed == (*header.transform != 0);
}

// One that was cut short the engine shows as far as it goes; what viewers make of it differs.
bool isTaken(const JPEGHeader& header) {
    return header.isCommon && isDrawn(header.size) && header.end && isReadAlike(header);
}

std::string dataOf(const PNGHeader& header) {
    std::string data;
    for (const auto piece : header.data) data += piece;
    return data;
}

// The rows of a sender's picture are unpacked once to see that all are there, which is done in a twentieth of the time
// of drawing them.
bool hasAllRows(const PNGHeader& header) {
    const std::size_t rowBits =
        std::size_t{header.size.width} * static_cast<unsigned>(channelsOf(header)) * header.bits;
    const std::size_t rowBytes = 1 + (rowBits + 7) / 8, expected = rowBytes * header.size.height;
    // A packed byte holds no more than this; and a picture may not take all memory.
    constexpr std::size_t maxPacking = 1040, maxBytes = std::size_t{1} << 28;
    const auto data = dataOf(header);
    if (expected > maxBytes || expected / maxPacking > data.size()) return false;
    const auto rows = zlib::inflate(data, expected, expected);
    if (!rows || rows->size() != expected) return false;
    constexpr char lastFilter = 4;   // PNG 1.2 §6
    for (std::size_t at = 0; at < rows->size(); at += rowBytes)
        if ((*rows)[at] < 0 || (*rows)[at] > lastFilter) return false;
    return true;
}

bool isTaken(const PNGHeader& header) {
    const bool isIndexed = header.colours == PNGColours::palette;
    return !header.hasAlpha() && !header.isInterlaced && !header.isAnimated && header.isWhole &&
           header.hasPlainGamma() && !(isIndexed && header.palette.empty()) && isDrawn(header.size);
}

// name 0 method profile, packed: PNG 1.2 §4.2.2.4
std::string profileOf(const PNGHeader& header) {
    constexpr std::size_t maxBytes = std::size_t{1} << 22, usual = 1 << 12;
    if (header.isSRGB || !header.profile) return {};
    const auto nameEnd = header.profile->find('\0');
    if (nameEnd == std::string_view::npos || nameEnd + 2 > header.profile->size()) return {};
    auto profile = zlib::inflate(header.profile->substr(nameEnd + 2), usual, maxBytes);
    const bool isGrey = header.colours == PNGColours::grey;
    return profile ? worthKeeping(std::move(*profile), spaceOf(isGrey ? 1 : 3)) : std::string();
}

QPDFObjectHandle number(long long value) { return QPDFObjectHandle::newInteger(value); }
QPDFObjectHandle name(const char* text) { return QPDFObjectHandle::newName(text); }

// The engine's way from ink to light: each colour is what its ink and the black leave of white. Between the corners of
// a table, readers go straight (ISO 32000-1 §7.10.2), which is the same.
QPDFObjectHandle inks(QPDF& file) {
    std::string corners;   // the first ink changes fastest
    for (unsigned inked = 0; inked < 16; ++inked)
        for (unsigned ink = 0; ink < 3; ++ink) corners += (inked & (1u << ink | 8u)) ? '\0' : '\xFF';
    auto table = QPDFObjectHandle::newStream(&file, corners);
    table.replaceDict(
        QPDFObjectHandle::parse("<< /FunctionType 0 /Domain [0 1 0 1 0 1 0 1] /Range [0 1 0 1 0 1] "
                                "/Size [2 2 2 2] /BitsPerSample 8 >>"));
    return QPDFObjectHandle::newArray(
        {name("/DeviceN"), QPDFObjectHandle::parse("[/Cyan /Magenta /Yellow /Black]"), name("/DeviceRGB"), table});
}

QPDFObjectHandle colourSpace(QPDF& file, int channels, const std::string& profile) {
    if (!profile.empty()) {
        auto stream = QPDFObjectHandle::newStream(&file);
        stream.getDict().replaceKey("/N", number(channels));
        stream.replaceStreamData(zlib::deflate(profile, zlib::Effort::good), name("/FlateDecode"),
                                 QPDFObjectHandle::newNull());
        return QPDFObjectHandle::newArray({name("/ICCBased"), stream});
    }
    return channels == 1 ? name("/DeviceGray") : channels == 3 ? name("/DeviceRGB") : inks(file);
}

QPDFObjectHandle indexed(QPDFObjectHandle base, const PNGHeader& header) {
    // An index without a colour is black to the engine and an error to others.
    std::string table(header.palette);
    table.resize(3 * (std::size_t{1} << header.bits));
    return QPDFObjectHandle::newArray({name("/Indexed"), base, number(static_cast<long long>(table.size() / 3 - 1)),
                                       QPDFObjectHandle::newString(table)});
}

QPDFObjectHandle imageDictionary(const pictures::Size& size, std::size_t bits) {
    auto dict = QPDFObjectHandle::parse("<< /Type /XObject /Subtype /Image >>");
    dict.replaceKey("/Width", number(size.width));
    dict.replaceKey("/Height", number(size.height));
    dict.replaceKey("/BitsPerComponent", number(static_cast<long long>(bits)));
    return dict;
}

QPDFObjectHandle imageOf(QPDF& file, ByteView bytes, const JPEGHeader& header, const std::string& profile,
                         LateData& late) {
    auto image = QPDFObjectHandle::newStream(&file);
    auto dict = imageDictionary(header.size, header.bits);
    dict.replaceKey("/ColorSpace", colourSpace(file, channelsOf(header), profile));
    if (header.isInverted) dict.replaceKey("/Decode", QPDFObjectHandle::parse("[1 0 1 0 1 0 1 0]"));
    image.replaceDict(dict);
    // Three channels without Adobe's segment would be taken for YCbCr.
    const bool isTold = header.colours == JPEGColours::rgb && !header.transform;
    late.give(image, withoutMetadata(bytes, header), name("/DCTDecode"),
              isTold ? QPDFObjectHandle::parse("<< /ColorTransform 0 >>") : QPDFObjectHandle::newNull());
    return image;
}

QPDFObjectHandle imageOf(QPDF& file, ByteView, const PNGHeader& header, const std::string& profile, LateData& late) {
    auto image = QPDFObjectHandle::newStream(&file);
    const bool isIndexed = header.colours == PNGColours::palette;
    const int channels = channelsOf(header);
    auto space = colourSpace(file, isIndexed ? 3 : channels, profile);
    auto dict = imageDictionary(header.size, header.bits);
    dict.replaceKey("/ColorSpace", isIndexed ? indexed(space, header) : space);
    image.replaceDict(dict);
    auto parameters = QPDFObjectHandle::parse("<< /Predictor 15 >>");
    parameters.replaceKey("/Colors", number(channels));
    parameters.replaceKey("/Columns", number(header.size.width));
    parameters.replaceKey("/BitsPerComponent", number(static_cast<long long>(header.bits)));
    std::vector<ByteView> pieces;
    for (const auto piece : header.data) pieces.push_back(bytesOf(piece));
    late.give(image, std::move(pieces), name("/FlateDecode"), parameters);
    return image;
}

}   // namespace

std::optional<Original::Picture> Original::read(ByteView bytes, Maker maker) {
    const auto kind = pictures::kindOf(bytes);
    if (kind == pictures::Kind::jpeg) {
        auto header = pictures::readJPEGHeader(bytes);
        if (!header || !isTaken(*header)) return std::nullopt;
        auto profile = worthKeeping(header->profile, spaceOf(channelsOf(*header)));
        return Picture{bytes, std::move(*header), std::move(profile)};
    }
    if (kind == pictures::Kind::png) {
        auto header = pictures::readPNGHeader(bytes);
        if (!header || !isTaken(*header) || (maker == Maker::sender && !hasAllRows(*header))) return std::nullopt;
        auto profile = profileOf(*header);
        return Picture{bytes, std::move(*header), std::move(profile)};
    }
    return std::nullopt;
}

std::optional<Original> Original::of(ByteView picture) {
    auto read = Original::read(picture, Maker::sender);
    return read ? std::optional(Original(std::move(*read))) : std::nullopt;
}

std::optional<Original> Original::of(pictures::Decoded picture) {
    const auto decoded = std::make_shared<const pictures::Decoded>(std::move(picture));
    auto colours = read(bytesOf(decoded->file), Maker::decoder);
    if (!colours) return std::nullopt;
    Original original(std::move(*colours));
    if (!decoded->mask.empty()) {
        original.mask_ = read(bytesOf(decoded->mask), Maker::decoder);
        const auto* const mask = original.mask_ ? std::get_if<PNGHeader>(&original.mask_->header) : nullptr;
        if (!mask || mask->colours != PNGColours::grey) return std::nullopt;
        original.mask_->profile.clear();   // it has no colours
    }
    original.decoded_ = decoded;
    return original;
}

pictures::Size Original::naturalSize() const {
    const auto* const jpeg = std::get_if<JPEGHeader>(&picture_.header);
    return jpeg ? jpeg->naturalSize() : std::get<PNGHeader>(picture_.header).size;
}

std::array<double, 6> Original::placement() const {
    const auto* const jpeg = std::get_if<JPEGHeader>(&picture_.header);
    const auto orientation = jpeg ? jpeg->orientation : Orientation::upright;
    const auto size = naturalSize();
    // Each side of the box is one of the square's, there and back: along u or v, from 0 or from 1.
    struct Side {
        double alongU, alongV, from;
    };
    constexpr Side u{1, 0, 0}, uBack{-1, 0, 1}, v{0, 1, 0}, vBack{0, -1, 1};
    const auto [x, y] = [&]() -> std::pair<Side, Side> {
        switch (orientation) {
            case Orientation::upright:
                break;
            case Orientation::mirrored:
                return {uBack, vBack};
            case Orientation::turnedHalf:
                return {uBack, v};
            case Orientation::flipped:
                return {u, v};
            case Orientation::transposed:
                return {vBack, u};
            case Orientation::turnedRight:
                return {v, u};
            case Orientation::transversed:
                return {v, uBack};
            case Orientation::turnedLeft:
                return {vBack, uBack};
        }
        return {u, vBack};
    }();
    const double width = size.width, height = size.height;
    return {width * x.alongU, height * y.alongU, width * x.alongV, height * y.alongV, width * x.from, height * y.from};
}

QPDFObjectHandle Original::imageIn(QPDF& file, LateData& late) const {
    const auto make = [&](const Picture& picture) {
        return std::visit(
            [&](const auto& header) { return imageOf(file, picture.bytes, header, picture.profile, late); },
            picture.header);
    };
    auto image = make(picture_);
    if (mask_) image.getDict().replaceKey("/SMask", make(*mask_));
    return image;
}

}   // namespace ostrel::pdf
