#include "pictures/Kind.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace ostrel::pictures {
namespace {

using namespace std::string_view_literals;

struct Signature {
    std::size_t offset;
    std::string_view bytes;
    Kind kind;
};

constexpr std::array signatures = {
    Signature{0, "\xFF\xD8\xFF"sv, Kind::jpeg},
    Signature{0, "\x89PNG\r\n\x1A\n"sv, Kind::png},
    Signature{0, "GIF87a"sv, Kind::gif},
    Signature{0, "GIF89a"sv, Kind::gif},
    Signature{8, "WEBPVP"sv, Kind::webp},
    Signature{0, "BM"sv, Kind::bmp},
    Signature{0, "\0\0\1\0"sv, Kind::ico},
    Signature{0, "II*\0"sv, Kind::tiff},
    Signature{0, "MM\0*"sv, Kind::tiff},
    Signature{0, "II+\0"sv, Kind::tiff},   // with 64-bit offsets
    Signature{0, "MM\0+"sv, Kind::tiff},
    Signature{0, "\0\0\0\x0CjP  \r\n\x87\n"sv, Kind::jpeg2000},
    Signature{0, "\xFF\x4F\xFF\x51"sv, Kind::jpeg2000},   // a codestream without its box (ISO 15444-1 Annex A)
};

// length(4) "ftyp" brand(4) version(4) brand(4)...: ISO 14496-12 §4.3; the brands are those of ISO 23008-12 Annex B and
// of AVIF 1.1.0.
Kind kindOfBrands(std::string_view file) {
    if (file.substr(std::min<std::size_t>(4, file.size()), 4) != "ftyp") return Kind::unknown;
    std::size_t length = 0;
    for (const char c : file.substr(0, 4)) length = length << 8 | static_cast<unsigned char>(c);
    constexpr std::size_t manyBrands = 256;
    const auto box = file.substr(0, std::min(length, manyBrands));
    for (std::size_t at = 8; at + 4 <= box.size(); at += at == 8 ? 8 : 4) {
        const auto brand = box.substr(at, 4);
        if (brand == "avif" || brand == "avis") return Kind::avif;
        constexpr std::array heic = {"heic"sv, "heix"sv, "heim"sv, "heis"sv, "hevc"sv, "hevx"sv, "hevm"sv, "hevs"sv};
        if (std::ranges::find(heic, brand) != heic.end()) return Kind::heic;
    }
    return Kind::unknown;
}

Kind kindOfText(std::string_view file) {
    const auto start = file.find_first_not_of(" \t\r\n\f\0\xEF\xBB\xBF"sv);
    if (start == std::string_view::npos) return Kind::unknown;
    file.remove_prefix(start);
    if (file.starts_with("%PDF-")) return Kind::pdf;
    return file[0] == '<' && file.find("<svg") != std::string_view::npos ? Kind::svg : Kind::unknown;
}

}   // namespace

Kind kindOf(ByteView picture) {
    constexpr std::size_t maxProlog = 1024;
    const auto file = charsOf(picture).substr(0, maxProlog);
    for (const auto& [offset, bytes, kind] : signatures)
        if (offset < file.size() && file.substr(offset).starts_with(bytes)) return kind;
    const auto branded = kindOfBrands(file);
    return branded == Kind::unknown ? kindOfText(file) : branded;
}

}   // namespace ostrel::pictures
