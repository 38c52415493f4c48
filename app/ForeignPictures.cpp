#include "app/ForeignPictures.h"

#include "core/page/MessageHTML.h"
#include "pictures/Kind.h"
#include "pictures/headers/ClaimedSize.h"
#include "pictures/headers/Size.h"
#include "platform/Translation.h"

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace ostrel {
namespace {

using i18n::tr;
using pictures::Decoded;
using pictures::Kind;
using pictures::NotDecoded;

std::optional<pictures::Size> sizeOf(ByteView picture) {
    const auto size = pictures::naturalSize(picture);
    return size ? size : pictures::claimedSize(picture);
}

// Why the engine is not to see a picture of a kind that it shows, as far as headers tell: one without a size it shows
// as broken, and one that is too large ends its process, and the mail with it.
std::optional<NotDecoded> whyNotForEngine(ByteView picture) {
    const auto kind = pictures::kindOf(picture);
    const auto size = sizeOf(picture);
    const bool isBroken = kind == Kind::avif ? pictures::isCutShort(picture)
                                             : !size && (kind == Kind::jpeg || kind == Kind::png || kind == Kind::webp);
    if (isBroken) return NotDecoded::damaged;
    if (!size) return std::nullopt;
    // JPEGs are decoded to the size in which they are shown, the others whole.
    constexpr std::uint64_t maxWholePixels = std::uint64_t{1} << 26;
    const bool isTooMuch = kind != Kind::jpeg && std::uint64_t{size->width} * size->height > maxWholePixels;
    return isTooMuch || !pictures::isDrawn(*size) ? std::optional(NotDecoded::tooLarge) : std::nullopt;
}

bool isToBeReplaced(const PagePicture& picture) {
    const auto bytes = picture.bytes.view();
    return pictures::isForeign(pictures::kindOf(bytes)) || whyNotForEngine(bytes);
}

std::string_view nameOf(Kind kind) {
    switch (kind) {
        case Kind::heic:
            return "HEIC";
        case Kind::tiff:
            return "TIFF";
        case Kind::jpeg2000:
            return "JPEG 2000";
        case Kind::jpeg:
            return "JPEG";
        case Kind::png:
            return "PNG";
        case Kind::gif:
            return "GIF";
        case Kind::webp:
            return "WebP";
        case Kind::avif:
            return "AVIF";
        case Kind::bmp:
            return "BMP";
        default:
            return "PDF";
    }
}

std::string sentenceFor(NotDecoded why) {
    switch (why) {
        case NotDecoded::damaged:
            return tr("This %@ picture cannot be shown: it is damaged.");
        case NotDecoded::tooLarge:
            return tr("This %@ picture cannot be shown: it is too large.");
        case NotDecoded::tooLong:
            return tr("This %@ picture cannot be shown: decoding it takes too long.");
        case NotDecoded::crashed:
            return tr("This %@ picture cannot be shown: decoding it failed.");
        case NotDecoded::unavailable:
            break;
    }
    return tr("This %@ picture cannot be shown: the program that decodes it does not start.");
}

// The size of the box for a picture: its own as far as it can be believed, in its shape.
pictures::Size boxSize(ByteView picture) {
    constexpr pictures::Size unknown{520, 64};
    constexpr double maxSide = 4096;
    const auto size = sizeOf(picture);
    if (!size) return unknown;
    const double shrunk = std::min(1.0, maxSide / std::max(size->width, size->height));
    const auto side = [&](std::uint32_t pixels) { return std::max(1u, static_cast<std::uint32_t>(pixels * shrunk)); };
    return {side(size->width), side(size->height)};
}

// A box in the picture's place, with these lines as large as they fit and need be.
std::string boxSaying(std::span<const std::string> lines, const pictures::Size& size) {
    constexpr unsigned smallest = 13, linesInWidth = 45;   // of a photograph, shown on a sheet
    std::size_t longest = 1;
    for (const auto& line : lines) longest = std::max(longest, line.size());
    const unsigned fitsWidth = size.width * 9 / 5 / static_cast<unsigned>(longest);   // characters are half as wide
    const unsigned fitsHeight = size.height * 2 / 3 / static_cast<unsigned>(lines.size());
    const unsigned font =
        std::max(1u, std::min({std::max(smallest, size.width / linesInWidth), fitsWidth, fitsHeight}));
    const auto attribute = [](const char* name, unsigned value) {
        return std::string(" ") + name + "=\"" + std::to_string(value) + '"';
    };
    const auto sides = attribute("width", size.width) + attribute("height", size.height);
    std::string box = "<svg xmlns=\"http://www.w3.org/2000/svg\"" + sides + "><rect" + sides +
                      " fill=\"#f2f2f2\" stroke=\"#b0b0b0\"/>";   // dashes become a shape each
    const unsigned lineHeight = font * 3 / 2;
    unsigned baseline =
        (size.height - std::min(size.height, lineHeight * static_cast<unsigned>(lines.size()))) / 2 + font;
    for (const auto& line : lines) {
        // Ligatures are not found when somebody searches, and the page's styles do not reach into pictures.
        box += "<text fill=\"#555\" font-family=\"sans-serif\" style=\"font-variant-ligatures:none\"" +
               attribute("x", font) + attribute("y", baseline) + attribute("font-size", font) + ">" +
               MessageHTML::escape(line) + "</text>";
        baseline += lineHeight;
    }
    return box + "</svg>";
}

std::string_view mediaTypeOf(Kind kind) {
    return kind == Kind::png ? "image/png" : kind == Kind::jpeg ? "image/jpeg" : "image/svg+xml";
}

PagePicture boxFor(const PagePicture& picture, NotDecoded why) {
    const auto bytes = picture.bytes.view();
    std::vector<std::string> lines;
    if (!picture.name.empty()) lines.push_back(picture.name);
    lines.push_back(i18n::filled(sentenceFor(why), nameOf(pictures::kindOf(bytes))));
    return {std::string(mediaTypeOf(Kind::svg)), Bytes(boxSaying(lines, boxSize(bytes))), picture.addresses,
            picture.name};
}

PagePicture replacementFor(const PagePicture& picture, pictures::Decoder& decoder) {
    const auto bytes = picture.bytes.view();
    if (!pictures::isForeign(pictures::kindOf(bytes)))
        return boxFor(picture, whyNotForEngine(bytes).value_or(NotDecoded::damaged));
    auto result = decoder.decode(bytes);
    if (const auto* const why = std::get_if<NotDecoded>(&result)) return boxFor(picture, *why);
    auto& made = std::get<Decoded>(result);
    return {std::string(mediaTypeOf(made.kind)), Bytes(std::move(made.file)), picture.addresses, picture.name};
}

// Where a picture stands, and what stands there instead.
struct Place {
    PagePicture::Address* address;
    const std::string* uri;   // null: what stands there
};

// Puts the addresses in, open; brings all of them up to date with what moves.
std::string replaced(std::string_view html, std::vector<Place> places) {
    std::ranges::sort(places, {}, [](const Place& place) { return place.address->begin; });
    std::string out;
    std::size_t done = 0;
    for (const auto& [address, uri] : places) {
        const auto was = *address;
        out += html.substr(done, was.begin - done);
        *address = {out.size(), uri ? uri->size() : was.size, uri || was.isOpen};
        out += uri ? std::string_view(*uri) : html.substr(was.begin, was.size);
        done = was.begin + was.size;
    }
    return out += html.substr(done);
}

}   // namespace

std::optional<Page> ForeignPictures::shown(const Page& page) const {
    if (std::ranges::none_of(page.pictures, isToBeReplaced)) return std::nullopt;
    Page made{{}, page.pictures, page.text, page.language, page.savedFiles};
    std::vector<std::string> uris(made.pictures.size());
    std::vector<Place> places;
    for (std::size_t i = 0; i < made.pictures.size(); ++i) {
        auto& picture = made.pictures[i];
        if (isToBeReplaced(picture)) {
            picture = replacementFor(picture, *decoder_);
            uris[i] = "data:" + picture.mediaType + ";base64,";
        }
        for (auto& address : picture.addresses) places.push_back({&address, uris[i].empty() ? nullptr : &uris[i]});
    }
    made.html = replaced(page.html, std::move(places));
    return made;
}

}   // namespace ostrel
