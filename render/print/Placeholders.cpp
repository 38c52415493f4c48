#include "render/print/Placeholders.h"

#include "core/message/TransferEncoding.h"
#include "core/page/PictureAddresses.h"
#include "pictures/Kind.h"
#include "pictures/headers/JPEGHeader.h"
#include "pictures/headers/PNGHeader.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <deque>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace ostrel {
namespace {

using Address = PagePicture::Address;
using pictures::Kind;

// A data: address without characters that styles, attributes or lists of addresses take for their own. The scripts find
// it again (scripts/find-pictures.js).
std::string drawingOf(const pictures::Size& size, std::uint32_t colour) {
    const auto w = std::to_string(size.width), h = std::to_string(size.height);
    const auto sides = "width=%22" + w + "%22%20height=%22" + h + "%22%20";
    std::array<char, 7> hex{};
    std::snprintf(hex.data(), hex.size(), "%06X", static_cast<unsigned>(colour));
    // Pictures are stretched where drawings would keep their shape.
    return "data:image/svg+xml,%3Csvg%20xmlns=%22http://www.w3.org/2000/svg%22%20preserveAspectRatio=%22none%22%20" +
           sides + "viewBox=%220%200%20" + w + "%20" + h + "%22%3E%3Crect%20" + sides + "fill=%22%23" + hex.data() +
           "%22/%3E%3C/svg%3E";
}

std::optional<pdf::Original> originalOf(ByteView bytes, const Placeholders::Decode& decode) {
    if (auto original = pdf::Original::of(bytes)) return original;
    const auto kind = pictures::kindOf(bytes);
    if (kind == Kind::png) {
        const auto header = pictures::readPNGHeader(bytes);
        if (!header || header->isAnimated) return std::nullopt;
    } else if (kind == Kind::jpeg) {
        const auto header = pictures::readJPEGHeader(bytes);
        if (!header || header->end != 0) return std::nullopt;   // whole, and for the engine alone
    } else if (kind != Kind::gif && kind != Kind::webp) {
        return std::nullopt;
    }
    auto made = decode(bytes);
    if (!made || made->size != pictures::naturalSize(bytes)) return std::nullopt;
    return pdf::Original::of(std::move(*made));
}

// Small backgrounds are mostly repeated, which the engine does by a raster, and it has soon drawn them.
bool isSmall(ByteView bytes) {
    constexpr std::uint64_t fewPixels = 128 * 128;
    const auto size = pictures::naturalSize(bytes);
    return !size || std::uint64_t{size->width} * size->height <= fewPixels;
}

// All addresses of the page, ascending, and what each is for.
struct Uses {
    std::vector<Address> addresses;
    std::vector<AddressUse> uses;
    AddressUse of(const Address& address) const {
        const auto found = std::ranges::lower_bound(addresses, address.begin, {}, &Address::begin);
        return uses[static_cast<std::size_t>(found - addresses.begin())];
    }
};

Uses usesIn(const Page& page) {
    Uses all;
    for (const auto& picture : page.pictures)
        all.addresses.insert(all.addresses.end(), picture.addresses.begin(), picture.addresses.end());
    std::ranges::sort(all.addresses, {}, &Address::begin);
    all.uses = addressUses(page.html, all.addresses);
    return all;
}

}   // namespace

Placeholders::Placeholders(const Page& page, const Decode& decode) : page_(page) {
    if (page.pictures.empty()) return;
    const auto uses = usesIn(page);
    for (const auto& picture : page.pictures) {
        const bool isOnlyImage = isSmall(picture.bytes.view());
        auto addresses = picture.addresses;
        std::erase_if(addresses, [&](const Address& address) {
            const auto use = uses.of(address);
            return use == AddressUse::other || (use == AddressUse::background && isOnlyImage);
        });
        if (addresses.empty()) continue;
        if (auto original = originalOf(picture.bytes.view(), decode))
            placeable_.push_back({std::move(*original), std::move(addresses), 0, picture.name});
    }
}

std::optional<Placeholders::PageForEngine> Placeholders::next() {
    constexpr std::size_t maxPictures = std::size_t{1} << 20;   // a sixteenth of all colours
    if (placeable_.empty() || placeable_.size() > maxPictures) return std::nullopt;
    PageForEngine made;
    struct Replacement {
        Address address;
        const std::string* uri;
    };
    std::vector<Replacement> all;
    std::deque<std::string> uris;
    std::unordered_set<std::size_t> replaced;   // the beginnings of addresses
    std::unordered_set<std::uint32_t> taken;
    std::uniform_int_distribution<std::uint32_t> anyColour(0, 0xFFFFFF);
    for (auto& [original, addresses, colour, name] : placeable_) {
        do colour = anyColour(random_);
        while (!taken.insert(colour).second);
        made.pictures.push_back({.colour = colour, .original = original, .name = name});
        uris.push_back(drawingOf(original.naturalSize(), colour));
        for (const auto& address : addresses) {
            all.push_back({address, &uris.back()});
            replaced.insert(address.begin);
        }
    }
    // The others are to be whole.
    for (const auto& picture : page_.pictures) {
        const std::string* uri = nullptr;
        for (const auto& address : picture.addresses) {
            if (!address.isOpen || replaced.contains(address.begin)) continue;
            if (!uri)
                uri = &uris.emplace_back(page_.html.substr(address.begin, address.size) +
                                         TransferEncoding::encodeBase64(picture.bytes.view()));
            all.push_back({address, uri});
        }
    }
    std::ranges::sort(all, {}, [](const Replacement& each) { return each.address.begin; });
    std::size_t done = 0;
    for (const auto& [address, uri] : all) {
        made.html.append(page_.html, done, address.begin - done).append(*uri);
        done = address.begin + address.size;
    }
    made.html.append(page_.html, done);
    return made;
}

void Placeholders::leaveToEngine(std::span<const std::uint32_t> colours) {
    std::erase_if(placeable_,
                  [&](const Placeable& each) { return std::ranges::find(colours, each.colour) != colours.end(); });
}

}   // namespace ostrel
