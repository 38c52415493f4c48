#pragma once

#include "pdf/pages/Links.h"
#include "pdf/tags/PageListing.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace ostrel {

// What the scripts in the page find out about it.
struct PageMeasures {
    double width = 0;                   // of the content, in CSS pixels
    std::vector<pdf::LinkMark> links;   // marked in the page; in the order drawn
    // Colours of what stands for pictures (Placeholders.h): where only the engine can make what the page wants of the
    // picture, and where the page surely shows it.
    std::vector<std::uint32_t> changedPictures{}, seenPictures{};
    pdf::PageListing listing{};   // empty: not known
    bool operator==(const PageMeasures&) const = default;
};

// Reads what the scripts return, JSON (RFC 8259):
//     {"width": 640, "links": [{"colour": 10368889, "url": "https://…", "part": [0.1, 0.2, 0.5, 0.5, 1.5]}, …],
//      "pictures": {"changed": [3368601, …], "seen": []}, "listing": […]}
// There may be no pictures and no listing (ListedElements.h). A link may have the number of its element, and that of an
// attachment in place of an address. A part has left, top, width and height, in parts of the marked box, and the box's
// width over its height; there is none where the whole box is the link. Returns nullopt if anything is not as it must
// be.
std::optional<PageMeasures> parsePageMeasures(std::string_view answer);

}   // namespace ostrel
