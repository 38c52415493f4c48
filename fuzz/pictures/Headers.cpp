#include "fuzz/Target.h"
#include "pictures/headers/ClaimedSize.h"
#include "pictures/headers/JPEGHeader.h"
#include "pictures/headers/PNGHeader.h"
#include "pictures/headers/Size.h"
#include "tests/pictures/SamplePictures.h"

namespace ostrel::fuzz {
namespace {

bool isWithin(std::string_view part, ByteView whole) {
    const auto all = charsOf(whole);
    return part.empty() || (part.data() >= all.data() && part.data() + part.size() <= all.data() + all.size());
}

std::string joined(const std::vector<ByteView>& pieces) {
    std::string all;
    for (const auto piece : pieces) all += charsOf(piece);
    return all;
}

void jpeg(ByteView picture) {
    const auto header = pictures::readJPEGHeader(picture);
    if (!header) return;
    holds(header->scanStart < picture.size(), "the scan is within the picture");
    holds(header->profile.size() < picture.size(), "a profile comes from the picture");
    for (const auto table : header->tables) holds(isWithin(charsOf(table), picture), "a segment is within the picture");
    const auto bare = joined(pictures::withoutMetadata(picture, *header));
    holds(bare.size() <= picture.size(), "nothing is added");
    const auto again = pictures::readJPEGHeader(bytesOf(bare));
    holds(again && again->size == header->size && again->colours == header->colours &&
              again->isInverted == header->isInverted && again->isCommon == header->isCommon,
          "without its metadata it is the same picture");
    holds(joined(pictures::withoutMetadata(bytesOf(bare), *again)) == bare, "metadata go at once");
}

void png(ByteView picture) {
    const auto header = pictures::readPNGHeader(picture);
    if (!header) return;
    std::size_t size = header->palette.size();
    for (const auto piece : header->data) {
        holds(isWithin(piece, picture), "pixels are within the picture");
        size += piece.size();
    }
    holds(size < picture.size(), "no byte counts twice");
}

}   // namespace

void run(ByteView input) {
    everyPrefix(input, [](ByteView picture) {
        const auto size = pictures::naturalSize(picture);
        holds(!size || (size->width > 0 && size->height > 0), "a size is not nothing");
        const auto claimed = pictures::claimedSize(picture);
        holds(!claimed || (claimed->width > 0 && claimed->height > 0), "nor is one that is only claimed");
        holds(!size || !claimed, "a kind has one or the other");
        pictures::isCutShort(picture);
        jpeg(picture);
        png(picture);
    });
}

std::vector<std::string> seeds() {
    using namespace test;
    using namespace std::string_literals;
    const auto frame = big(8, 1) + big(40, 2) + big(60, 2) + big(3, 1) + "\1\x11\0\2\x11\0\3\x11\0"s;
    return {
        "\xFF\xD8" + segment(0xE0, "JFIF\0\1\1\0\0\1\0\1\0\0"s) + segment(0xE1, exif(6)) +
            segment(0xE2, "ICC_PROFILE\0\1\1profile"s) + segment(0xEE, "Adobe\0\x64\0\0\0\0\1"s) +
            segment(0xC0, frame) + segment(0xDA, "\1\1\0\0\x3F\0"s) + "pixels\xFF\xD9",
        "\x89PNG\r\n\x1A\n" + chunk("IHDR", big(5, 4) + big(7, 4) + "\x08\x03\0\0\1"s) + chunk("gAMA", big(45455, 4)) +
            chunk("PLTE", "rgbRGB") + chunk("tRNS", "\x80") + chunk("IDAT", "one") + chunk("IDAT", "two") +
            chunk("IEND", ""),
        "GIF89a\x3C\0\x28\0\0\0\0"s,
        "RIFF\0\0\0\0WEBPVP8X\0\0\0\0\0\0\0\0\x3B\0\0\x27\0\0"s,
        "BM" + std::string(12, '\0') + little(40, 4) + little(60, 4) + little(40, 4),
        "\0\0\0\x1C"
        "ftypmif1\0\0\0\0miafheic"s,
        box("ftyp", "avif") +
            box("meta", big(0, 4) + box("iprp", box("ipco", box("irot", "\1") +
                                                                box("ispe", big(0, 4) + big(60, 4) + big(40, 4))))),
        tiff(6, 40, 60),
        pdf(),
        box("jP  ", "\r\n\x87\n") + box("jp2h", box("ihdr", big(40, 4) + big(60, 4))),
    };
}

}   // namespace ostrel::fuzz
