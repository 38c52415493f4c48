#include "fuzz/Target.h"
#include "pdf/tags/ListedStructure.h"

#include <array>
#include <map>
#include <set>

namespace ostrel::fuzz {
namespace {

using pdf::ListedNode;
using Part = pdf::Element::Part;

// Bytes as a document and the pages that show it. What comes first lists, what follows a 0xFF paints.
struct Input {
    pdf::PageListing listing{{.text = "Document"}};
    std::vector<pdf::PaintedPage> pages{{}};
};

std::u16string word(unsigned char seed) {
    static constexpr std::array<std::u16string_view, 8> words{u"ab", u"abc",          u"b", u"\u05D0\u05D1",
                                                              u"1.", u"\u0939\u093F", u" ", u"\uFFFD"};
    return std::u16string(words[seed % words.size()]);
}

Input inputOf(ByteView bytes) {
    static constexpr std::array<const char*, 12> types{"P",     "H1",    "H5", "L",  "LI", "Lbl",
                                                       "LBody", "Table", "TR", "TD", "TH", "Link"};
    static constexpr std::array<const char*, 8> texts{"AB", "abcab",        "b",        "\u05D0\u05D1 b",
                                                      "",   "\u0939\u093F", "ab ab ab", "x"};
    Input input;
    std::size_t parent = 0, at = 0;
    for (; at < bytes.size() && bytes[at] != std::byte{0xFF}; ++at) {
        const auto byte = static_cast<unsigned char>(bytes[at]);
        const std::size_t low = byte & 0x1F;
        ListedNode node{.parent = parent};
        if (byte < 0x60) {
            node.text = types[low % types.size()];
            node.rows = byte >> 5;
            node.columns = (byte >> 5) * 600;
            node.link = low;
            parent = input.listing.size();
        } else if (byte < 0xA0) {
            parent = input.listing[parent].parent;
            continue;
        } else {
            node.kind = byte < 0xE0 ? ListedNode::Kind::text : ListedNode::Kind::picture;
            node.text = texts[low % texts.size()];
            node.width = node.height = static_cast<double>(low);
        }
        input.listing.push_back(node);
    }
    std::size_t place = 0;
    for (; at < bytes.size(); ++at, place += 2) {
        const auto byte = static_cast<unsigned char>(bytes[at]);
        auto& page = input.pages.back();
        if (byte >= 0xF8) {
            input.pages.emplace_back();
            place = 0;
        } else if (byte >= 0xF0) {
            page.links.push_back(byte & 1 ? std::optional<std::size_t>(byte) : std::nullopt);
        } else {
            pdf::Painted painted{byte < 0xC0   ? pdf::Painted::Kind::text
                                 : byte < 0xD8 ? pdf::Painted::Kind::picture
                                               : pdf::Painted::Kind::drawing,
                                 place, place + 1};
            if (byte < 0xC0) {
                painted.text = word(byte);
                painted.blank = "<20>Tj";
                painted.textEnd = place + 1;
            }
            painted.baseline = byte >> 4;
            painted.box = {0, 0, static_cast<double>(byte), 90};
            page.painted.push_back(std::move(painted));
        }
    }
    return input;
}

void holdsTogether(const Input& input, const pdf::Structure& structure) {
    holds(structure.marks.size() == input.pages.size(), "marks for every page");
    std::set<std::pair<std::size_t, std::size_t>> read;
    for (std::size_t page = 0; page < input.pages.size(); ++page) {
        const auto& painted = input.pages[page].painted;
        std::size_t next = 0, number = 0;
        for (const auto& mark : structure.marks[page]) {
            holds(next < painted.size() && mark.begin == painted[next].begin, "marks begin with what is painted");
            while (next < painted.size() && painted[next].begin < mark.end) ++next;
            if (mark.number) holds(*mark.number == number++, "marked content is numbered in its order");
            if (mark.number) read.insert({page, *mark.number});
        }
        holds(next == painted.size(), "everything painted is in a mark");
    }
    std::set<std::pair<std::size_t, std::size_t>> links;
    std::vector<int> parents(structure.elements.size());
    for (std::size_t i = 0; i < structure.elements.size(); ++i) {
        for (const auto& part : structure.elements[i].parts) {
            if (part.kind == Part::Kind::content) holds(read.erase({part.page, part.number}) == 1, "read once");
            if (part.kind == Part::Kind::annotation)
                holds(links.insert({part.page, part.number}).second, "linked once");
            if (part.kind == Part::Kind::element) holds(part.number > i && ++parents[part.number] == 1, "a tree");
        }
    }
    holds(read.empty(), "all marked content is read");
    for (std::size_t page = 0; page < structure.blanks.size(); ++page) {
        std::set<std::size_t> ends;
        for (const auto& painted : input.pages[page].painted)
            if (painted.kind == pdf::Painted::Kind::text) ends.insert(painted.textEnd);
        for (const auto& blank : structure.blanks[page])
            holds(ends.erase(blank.at) == 1, "a blank behind a text, and one only");
    }
    std::size_t count = 0;
    for (const auto& page : input.pages) count += page.links.size();
    holds(links.size() == count, "every link is in the tree");
}

}   // namespace

void run(ByteView bytes) {
    const auto input = inputOf(bytes);
    holdsTogether(input, pdf::flatStructure(input.pages));
    const auto listed = pdf::listedStructure(input.listing, input.pages);
    if (listed.whyNone.empty()) holdsTogether(input, listed.structure);
}

std::vector<std::string> seeds() {
    const auto listing = [](std::string_view bytes) { return std::string(bytes); };
    return {
        listing("\x01\xA0\x60\x20\xA1\x0B\xA2\x60\x60\xFF\x20\x08\x09\x0A\xF1\xF8\xC5\xE0"),
        listing("\x03\x04\x05\x60\x06\xA0\x60\x60\x60\xFF\x04\x08"),
        listing("\x27\x28\x29\xA0\x60\x4A\xA1\x60\x60\x28\x49\xA2\x60\x60\x60\xFF\x08\x09\x02"),
        listing("\x20\xA3\xA5\xEA\x60\xFF\x03\x0B\x0D\xDE\xCA\x03"),
    };
}

}   // namespace ostrel::fuzz
