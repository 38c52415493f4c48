#include "app/ForeignPictures.h"

#include "core/message/TransferEncoding.h"
#include "core/page/MessageHTML.h"
#include "pictures/Kind.h"
#include "platform/Translation.h"

#include <algorithm>
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

bool isForeign(const PagePicture& picture) { return pictures::isForeign(pictures::kindOf(picture.bytes.view())); }

std::string_view nameOf(Kind kind) {
    switch (kind) {
        case Kind::heic:
            return "HEIC";
        case Kind::tiff:
            return "TIFF";
        case Kind::jpeg2000:
            return "JPEG 2000";
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

// A box with a line of text, in the picture's place.
std::string boxSaying(std::string_view line) {
    return R"(<svg xmlns="http://www.w3.org/2000/svg" width="520" height="48">)"
           R"(<rect x=".5" y=".5" width="519" height="47" fill="#f2f2f2" stroke="#b0b0b0" stroke-dasharray="4 3"/>)"
           R"(<text x="12" y="29" font-family="sans-serif" font-size="13" fill="#555">)" +
           MessageHTML::escape(line) + "</text></svg>";
}

std::string_view mediaTypeOf(Kind kind) {
    return kind == Kind::png ? "image/png" : kind == Kind::jpeg ? "image/jpeg" : "image/svg+xml";
}

PagePicture replacementFor(const PagePicture& picture, pictures::Decoder& decoder) {
    auto result = decoder.decode(picture.bytes.view());
    if (const auto* const why = std::get_if<NotDecoded>(&result)) {
        const auto line = i18n::filled(sentenceFor(*why), nameOf(pictures::kindOf(picture.bytes.view())));
        return {std::string(mediaTypeOf(Kind::svg)), Bytes(boxSaying(line)), picture.addresses};
    }
    auto& made = std::get<Decoded>(result);
    return {std::string(mediaTypeOf(made.kind)), Bytes(std::move(made.file)), picture.addresses};
}

// Where a picture stands, and what stands there instead.
struct Place {
    PagePicture::Address* address;
    const std::string* uri;   // null: what stands there
};

// Puts the addresses in; brings all of them up to date with what moves.
std::string replaced(std::string_view html, std::vector<Place> places) {
    std::ranges::sort(places, {}, [](const Place& place) { return place.address->begin; });
    std::string out;
    std::size_t done = 0;
    for (const auto& [address, uri] : places) {
        const auto was = *address;
        out += html.substr(done, was.begin - done);
        *address = {out.size(), uri ? uri->size() : was.size};
        out += uri ? std::string_view(*uri) : html.substr(was.begin, was.size);
        done = was.begin + was.size;
    }
    return out += html.substr(done);
}

}   // namespace

std::optional<Page> ForeignPictures::shown(const Page& page) const {
    if (std::ranges::none_of(page.pictures, isForeign)) return std::nullopt;
    Page made{{}, page.pictures, page.text};
    std::vector<std::string> uris(made.pictures.size());
    std::vector<Place> places;
    for (std::size_t i = 0; i < made.pictures.size(); ++i) {
        auto& picture = made.pictures[i];
        if (isForeign(picture)) {
            picture = replacementFor(picture, *decoder_);
            uris[i] = "data:" + picture.mediaType + ";base64," + TransferEncoding::encodeBase64(picture.bytes.view());
        }
        for (auto& address : picture.addresses) places.push_back({&address, uris[i].empty() ? nullptr : &uris[i]});
    }
    made.html = replaced(page.html, std::move(places));
    return made;
}

}   // namespace ostrel
