#include "pdf/tags/TextCoverage.h"

#include "pdf/tags/ComparableText.h"
#include "pdf/tags/Structure.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include <unicode/uchar.h>

namespace ostrel::pdf {
namespace {

constexpr char16_t unknown = 0xFFFD;   // a glyph of which nobody knows what it means

// How often each character stands there. Those outside of the basic plane are none here.
using Counts = std::vector<std::uint32_t>;

template <typename Text>
void count(Counts& counts, Text text) {
    for (const char16_t c : comparable(std::move(text))) ++counts[c];
}

}   // namespace

TextCoverage textCoverage(const PageListing& listing, std::string_view text, const std::vector<PaintedPage>& pages) {
    Counts said(0x10000), shown(0x10000);
    for (const auto& node : listing)
        if (node.kind == ListedNode::Kind::text) count(said, std::string_view(node.text));
    if (listing.empty()) count(said, text);
    for (const auto& page : pages)
        for (const auto& painted : page.painted)
            if (painted.kind == Painted::Kind::text) count(shown, painted.text);
    TextCoverage all;
    for (std::size_t c = 0; c < said.size(); ++c) {
        if (said[c] == 0 || !u_isalnum(static_cast<UChar32>(c))) continue;
        all.said += said[c];
        all.missing += said[c] - std::min(said[c], shown[c]);
    }
    all.missing -= std::min<std::size_t>(all.missing, shown[unknown]);
    return all;
}

}   // namespace ostrel::pdf
