#include "pdf/tags/Outline.h"

#include <algorithm>
#include <cmath>

namespace ostrel::pdf {
namespace {

constexpr std::size_t maxHeadings = 2000;   // nobody looks through more

QPDFObjectHandle whole(std::size_t number) { return QPDFObjectHandle::newInteger(static_cast<long long>(number)); }

struct Entry {
    QPDFObjectHandle object, first, last;   // of those under it
    int level;
    std::size_t parent;      // among the entries
    std::size_t inner = 0;   // all under it
};

}   // namespace

void writeOutline(QPDF& file, const std::vector<Heading>& headings) {
    const auto pages = file.getAllPages();
    const std::size_t least = pages.size() > 2 ? 2 : 3;
    if (headings.size() < least || headings.size() > maxHeadings) return;
    std::vector<Entry> all;   // the outline itself first
    all.push_back({file.makeIndirectObject(QPDFObjectHandle::newDictionary()), {}, {}, 0, 0});
    std::size_t open = 0;   // the entry that the next one may be under
    for (const auto& heading : headings) {
        while (all[open].level >= heading.level) open = all[open].parent;
        auto& parent = all[open];
        auto made = file.makeIndirectObject(QPDFObjectHandle::newDictionary());
        auto place = QPDFObjectHandle::newArray(
            {pages.at(heading.page), QPDFObjectHandle::newName("/XYZ"), QPDFObjectHandle::newNull(),
             QPDFObjectHandle::newInteger(std::lround(heading.top)), QPDFObjectHandle::newNull()});
        made.replaceKey("/Title", QPDFObjectHandle::newUnicodeString(heading.text));
        made.replaceKey("/Parent", parent.object);
        made.replaceKey("/Dest", place);
        if (parent.last.isInitialized()) {
            made.replaceKey("/Prev", parent.last);
            parent.last.replaceKey("/Next", made);
        } else {
            parent.first = made;
        }
        parent.last = made;
        all.push_back({made, {}, {}, std::max(heading.level, 1), open});
        open = all.size() - 1;
    }
    for (auto i = all.size(); i-- > 0;) {
        auto& entry = all[i];
        if (i > 0) all[entry.parent].inner += entry.inner + 1;
        if (!entry.first.isInitialized()) continue;
        entry.object.replaceKey("/First", entry.first);
        entry.object.replaceKey("/Last", entry.last);
        entry.object.replaceKey("/Count", whole(entry.inner));   // all unfolded
    }
    file.getRoot().replaceKey("/Outlines", all.front().object);
}

}   // namespace ostrel::pdf
