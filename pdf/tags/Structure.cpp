#include "pdf/tags/Structure.h"

#include <cmath>
#include <utility>

namespace ostrel::pdf {
namespace {

using Part = Element::Part;

bool isSameLine(const Painted& a, const Painted& b) {
    constexpr double touching = 0.5;   // in points
    return a.kind == Painted::Kind::text && b.kind == Painted::Kind::text && a.baseline && b.baseline &&
           std::abs(*a.baseline - *b.baseline) < touching;
}

}   // namespace

Structure flatStructure(const std::vector<PaintedPage>& pages) {
    Structure all;
    const auto add = [&](const char* type, Part part) {
        all.elements.front().parts.push_back({Part::Kind::element, 0, all.elements.size()});
        all.elements.push_back({type, {}, {}, {part}});
    };
    for (std::size_t page = 0; page < pages.size(); ++page) {
        auto& marks = all.marks.emplace_back();
        std::size_t number = 0;
        const Painted* last = nullptr;
        for (const auto& each : pages[page].painted) {
            if (last && isSameLine(*last, each)) {
                marks.back().end = each.end;
            } else if (each.kind == Painted::Kind::text) {
                add("P", {Part::Kind::content, page, number});
                marks.push_back({each.begin, each.end, number++});
            } else {
                marks.push_back({each.begin, each.end});
            }
            last = &each;
        }
        for (std::size_t i = 0; i < pages[page].links.size(); ++i) add("Link", {Part::Kind::annotation, page, i});
    }
    return all;
}

}   // namespace ostrel::pdf
