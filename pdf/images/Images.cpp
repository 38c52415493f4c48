#include "pdf/images/Images.h"

#include "pdf/content/Streams.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ostrel::pdf {
namespace {

constexpr std::size_t maxPixels = std::size_t{1} << 26;   // 200 MB unpacked; larger ones stay as they are

// A picture as the engine embeds it: 8 bits a channel, without a predictor.
struct Picture {
    std::size_t width = 0, height = 0;   // pixels
    std::size_t channels = 0;
    std::size_t rowBytes() const { return width * channels; }
    std::size_t bytes() const { return rowBytes() * height; }
};

std::size_t channelsOf(QPDFObjectHandle colorSpace) {
    if (colorSpace.isNameAndEquals("/DeviceRGB")) return 3;
    if (colorSpace.isNameAndEquals("/DeviceGray")) return 1;
    if (!colorSpace.isArray() || colorSpace.getArrayNItems() != 2 ||
        !colorSpace.getArrayItem(0).isNameAndEquals("/ICCBased") || !colorSpace.getArrayItem(1).isStream())
        return 0;
    auto channels = colorSpace.getArrayItem(1).getDict().getKey("/N");
    return channels.isInteger() && channels.getIntValue() == 3 ? 3 : 0;
}

std::optional<Picture> understood(QPDFObjectHandle image) {
    auto dict = image.getDict();
    auto width = dict.getKey("/Width"), height = dict.getKey("/Height"), bits = dict.getKey("/BitsPerComponent");
    if (!dict.getKey("/Subtype").isNameAndEquals("/Image") || packingOf(image) == Packing::other ||
        dict.hasKey("/Decode") || dict.hasKey("/Mask") || !width.isInteger() || !height.isInteger() ||
        !bits.isInteger() || bits.getIntValue() != 8)
        return std::nullopt;
    const auto w = width.getIntValue(), h = height.getIntValue();
    const Picture picture{static_cast<std::size_t>(w), static_cast<std::size_t>(h),
                          channelsOf(dict.getKey("/ColorSpace"))};
    return w > 0 && h > 0 && picture.channels > 0 ? std::optional(picture) : std::nullopt;
}

int paeth(int left, int up, int upLeft) {
    const int estimate = left + up - upLeft;
    const int a = std::abs(estimate - left), b = std::abs(estimate - up), c = std::abs(estimate - upLeft);
    return a <= b && a <= c ? left : b <= c ? up : upLeft;
}

enum Filter : unsigned char { none, sub, up, average, paethFilter };   // numbers of PNG 1.2 §6

template <class Guess>
void filterRow(Guess guess, const unsigned char* row, const unsigned char* above, std::size_t count,
               std::size_t channels, unsigned char* out) {
    for (std::size_t i = 0; i < std::min(channels, count); ++i)
        out[i] = static_cast<unsigned char>(row[i] - guess(0, above[i], 0));
    for (std::size_t i = channels; i < count; ++i)
        out[i] = static_cast<unsigned char>(row[i] - guess(row[i - channels], above[i], above[i - channels]));
}

void filterRow(Filter filter, const unsigned char* row, const unsigned char* above, std::size_t count,
               std::size_t channels, unsigned char* out) {
    const auto with = [&](auto guess) { filterRow(guess, row, above, count, channels, out); };
    switch (filter) {
        case none:
            return with([](int, int, int) { return 0; });
        case sub:
            return with([](int left, int, int) { return left; });
        case up:
            return with([](int, int upper, int) { return upper; });
        case average:
            return with([](int left, int upper, int) { return (left + upper) / 2; });
        case paethFilter:
            return with(paeth);
    }
}

// Rows as differences from their surroundings, each with the filter that leaves the smallest ones (PNG 1.2 §9.6).
std::string predicted(std::string_view pixels, std::size_t rowBytes, std::size_t channels) {
    const auto rows = pixels.size() / rowBytes;
    const auto* in = reinterpret_cast<const unsigned char*>(pixels.data());
    const std::vector<unsigned char> blank(rowBytes);
    std::vector<unsigned char> tried(rowBytes), best(rowBytes);
    std::string out;
    out.reserve(pixels.size() + rows);
    for (std::size_t y = 0; y < rows; ++y) {
        const auto* const row = in + y * rowBytes;
        const auto* const above = y ? row - rowBytes : blank.data();
        std::size_t smallest = SIZE_MAX;
        Filter chosen = none;
        for (const auto filter : {none, sub, up, average, paethFilter}) {
            filterRow(filter, row, above, rowBytes, channels, tried.data());
            std::size_t sum = 0;
            for (const auto byte : tried) sum += byte < 128 ? byte : 256u - byte;
            if (sum >= smallest) continue;
            smallest = sum;
            chosen = filter;
            best.swap(tried);
        }
        out += static_cast<char>(chosen);
        out.append(reinterpret_cast<const char*>(best.data()), rowBytes);
    }
    return out;
}

QPDFObjectHandle predictorParameters(const Picture& picture) {
    auto parameters = QPDFObjectHandle::parse("<< /Predictor 15 >>");
    parameters.replaceKey("/Colors", QPDFObjectHandle::newInteger(static_cast<long long>(picture.channels)));
    parameters.replaceKey("/Columns", QPDFObjectHandle::newInteger(static_cast<long long>(picture.width)));
    return parameters;
}

// What a picture will take, judged by a strip of some bytes from its middle: drawings pack better as they are,
// photographs as differences.
struct Estimate {
    std::size_t plain = 0, predicted = 0;   // bytes
};

Estimate estimate(std::string_view pixels, const Picture& picture, std::size_t stripBytes) {
    const auto rows = std::clamp<std::size_t>(stripBytes / picture.rowBytes(), 1, picture.height);
    const auto strip = pixels.substr((picture.height - rows) / 2 * picture.rowBytes(), rows * picture.rowBytes());
    const auto ofWhole = [&](std::string_view part) {
        return zlib::deflate(part, zlib::Effort::quick).size() * picture.height / rows;
    };
    return {ofWhole(strip), ofWhole(predicted(strip, picture.rowBytes(), picture.channels))};
}

void pack(QPDFObjectHandle image, const Picture& picture) {
    const auto pixels = decoded(image, picture.bytes());
    if (!pixels || pixels->size() != picture.bytes()) return;
    constexpr std::size_t enoughToChoose = 1 << 17;
    const auto expected = estimate(*pixels, picture, enoughToChoose);
    if (expected.predicted < expected.plain) {
        auto packed = zlib::deflate(predicted(*pixels, picture.rowBytes(), picture.channels), zlib::Effort::fair);
        if (packed.size() < storedSize(image)) replaceDeflated(image, std::move(packed), predictorParameters(picture));
    } else {
        repack(image, *pixels, zlib::Effort::fair);
    }
}

}   // namespace

ImageCounts packImages(QPDF& file) {
    ImageCounts counts;
    for (auto image : file.getAllObjects()) {
        if (!image.isStream()) continue;
        const auto picture = understood(image);
        if (!picture) continue;
        if (picture->width > maxPixels / picture->height) {
            ++counts.tooLarge;
            continue;
        }
        counts.bytes.before += storedSize(image);
        pack(image, *picture);
        counts.bytes.after += storedSize(image);
    }
    return counts;
}

}   // namespace ostrel::pdf
