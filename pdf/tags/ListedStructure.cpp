#include "pdf/tags/ListedStructure.h"

#include "pdf/tags/Alignment.h"
#include "pdf/tags/TableGrid.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string_view>
#include <utility>

#include <qpdf/QUtil.hh>

namespace ostrel::pdf {
namespace {

using Kind = ListedNode::Kind;
using Part = Element::Part;

constexpr std::size_t maxNodes = 300'000, maxDepth = 300;

// Elements with a place of their own (ISO 32000-1 §14.8.4.3); where home is empty, anywhere. What is read stands only
// in elements that take it.
struct Type {
    std::string_view name;
    std::array<std::string_view, 2> homes{};
    bool takesElementsOnly = false;   // those that have this as a home
    bool takesContent = true;
};
constexpr std::array types{
    Type{"Document", {}, false, false},
    Type{"P"},
    Type{"H1"},
    Type{"H2"},
    Type{"H3"},
    Type{"H4"},
    Type{"H5"},
    Type{"H6"},
    Type{"BlockQuote", {}, false, false},
    Type{"Code"},
    Type{"Quote"},
    Type{"Link"},
    Type{"L", {}, true, false},
    Type{"LI", {"L"}, true, false},
    Type{"Lbl", {"LI"}},
    Type{"LBody", {"LI"}},
    Type{"Table", {}, true, false},
    Type{"Caption", {"Table"}},
    Type{"TR", {"Table"}, true, false},
    Type{"TH", {"TR"}},
    Type{"TD", {"TR"}},
};

const Type* typeNamed(std::string_view name) {
    const auto found = std::ranges::find(types, name, &Type::name);
    return found == types.end() ? nullptr : &*found;
}

bool mayStandIn(const ListedNode& node, const ListedNode& parent) {
    const auto* const outer = typeNamed(parent.text);
    if (parent.kind != Kind::element || !outer) return false;
    if (node.kind != Kind::element) return outer->takesContent;
    const auto* const inner = typeNamed(node.text);
    if (!inner || inner == &types.front()) return false;
    const bool isHome = std::ranges::find(inner->homes, outer->name) != inner->homes.end();
    const bool isListInList = inner->name == "L" && outer->name == "L";
    return isListInList || (inner->homes.front().empty() ? !outer->takesElementsOnly : isHome);
}

std::string whyNoTree(const PageListing& listing) {
    if (listing.empty()) return "no listing of the document";
    if (listing.size() > maxNodes) return "too large a document";
    if (listing.front().kind != Kind::element || listing.front().text != "Document") return "no document";
    std::vector<std::size_t> depths{0};
    for (std::size_t i = 1; i < listing.size(); ++i) {
        const auto parent = listing[i].parent;
        if (parent >= i || !mayStandIn(listing[i], listing[parent])) return "elements out of place";
        depths.push_back(depths[parent] + 1);
        if (depths.back() > maxDepth) return "elements too deep within each other";
    }
    return {};
}

// Says to which node of the listing everything painted belongs.
class Owners {
public:
    static constexpr std::size_t none = static_cast<std::size_t>(-1), blank = none - 1;

    Owners(const PageListing& listing, const std::vector<PaintedPage>& pages) : listing_(listing), pages_(pages) {
        for (const auto& page : pages) owners_.emplace_back(page.painted.size(), none);
    }

    // Returns why it cannot be said.
    std::string find() {
        findTexts();
        findPictures();
        // What is shown and not listed are numbers of items and what styles add. More of it shows that the listing
        // belongs to something else.
        constexpr std::size_t tolerable = 100;
        return foreign_ > tolerable + shownCharacters_ / 20 ? "text that the document does not have" : "";
    }
    std::size_t of(std::size_t page, std::size_t painted) const { return owners_[page][painted]; }
    std::vector<std::vector<AddedBlank>> takeBlanks() { return std::move(blanks_); }

private:
    struct Place {
        std::size_t page, painted;
    };

    void findTexts() {
        std::vector<std::string_view> listed;
        std::vector<std::size_t> nodes;
        for (std::size_t i = 0; i < listing_.size(); ++i) {
            if (listing_[i].kind != Kind::text) continue;
            listed.emplace_back(listing_[i].text);
            nodes.push_back(i);
        }
        std::vector<ShownText> shown;
        std::vector<Place> places;
        for (std::size_t page = 0; page < pages_.size(); ++page) {
            for (std::size_t i = 0; i < pages_[page].painted.size(); ++i) {
                const auto& each = pages_[page].painted[i];
                if (each.kind != Painted::Kind::text) continue;
                shown.push_back({each.text, page, each.baseline, each.left});
                places.push_back({page, i});
                shownCharacters_ += each.text.size();
            }
        }
        const auto aligned = align(listed, shown);
        isBegun_.resize(listing_.size());
        for (std::size_t i = 0; i < aligned.size(); ++i) {
            auto& owner = owners_[places[i].page][places[i].painted];
            switch (aligned[i].kind) {
                case Alignment::Kind::piece:
                    owner = nodes[aligned[i].listed];
                    settle(shown[i], owner);
                    last_ = &shown[i];
                    lastOwner_ = owner;
                    break;
                case Alignment::Kind::generated:
                    waiting_.push_back({&shown[i], &owner});
                    break;
                case Alignment::Kind::blank:
                    owner = blank;
                    break;
                case Alignment::Kind::again:
                    break;
            }
        }
        for (const auto& [text, owner] : waiting_) adopt(*text, *owner, lastOwner_);
        addBlanks(aligned, nodes, shown, places);
    }

    // Between two pieces of a paragraph, where neither shows the blank that the document has there.
    void addBlanks(const std::vector<Alignment>& aligned, const std::vector<std::size_t>& nodes,
                   const std::vector<ShownText>& shown, const std::vector<Place>& places) {
        const auto isBlank = [](char16_t c) { return c == u' ' || c == u'\u00A0'; };
        blanks_.resize(pages_.size());
        std::vector<std::size_t> lastOf(listing_.size(), none);   // by paragraph, its last piece
        for (std::size_t i = 0; i < aligned.size(); ++i) {
            if (aligned[i].kind != Alignment::Kind::piece) continue;
            const auto last = std::exchange(lastOf[paragraphOf(nodes[aligned[i].listed])], i);
            if (last == none || !aligned[i].followsBlank || aligned[last].listed > aligned[i].listed) continue;
            const auto& [page, painted] = places[last];
            const auto& before = pages_[page].painted[painted];
            if (before.blank.empty() || isBlank(before.text.back()) || isBlank(shown[i].text.front())) continue;
            blanks_[page].push_back({before.textEnd, before.blank});
        }
    }

    std::size_t paragraphOf(std::size_t node) const {
        static constexpr std::array<std::string_view, 3> inLines{"Link", "Quote", "Code"};
        do node = listing_[node].parent;
        while (std::ranges::find(inLines, listing_[node].text) != inLines.end());
        return node;
    }

    static bool areOnOneLine(const ShownText& a, const ShownText& b) {
        constexpr double touching = 3;   // in points
        return a.page == b.page && a.baseline && b.baseline && std::abs(*a.baseline - *b.baseline) < touching;
    }

    // What is not listed and stands before the first text of an item on its line is the item's number; all else goes
    // with the listed text before it on the line, or the one behind it.
    void settle(const ShownText& text, std::size_t owner) {
        std::vector<std::size_t> items;   // that begin here, the inner ones first
        for (auto node = listing_[owner].parent; node != 0 && !isBegun_[node]; node = listing_[node].parent) {
            isBegun_[node] = true;
            if (listing_[node].text == "LI" && listing_[node + 1].text == "Lbl") items.push_back(node + 1);
        }
        auto item = items.begin();
        for (auto i = waiting_.rbegin(); i != waiting_.rend(); ++i) {
            if (item != items.end() && areOnOneLine(*i->text, text))
                *i->owner = *item++;
            else
                adopt(*i->text, *i->owner, last_ && areOnOneLine(*i->text, *last_) ? lastOwner_ : owner);
        }
        waiting_.clear();
    }

    void adopt(const ShownText& text, std::size_t& owner, std::size_t by) {
        owner = by;
        foreign_ += by == none ? shownCharacters_ + 1000 : text.text.size();   // nobody to go with
    }

    void findPictures() {
        for (std::size_t i = 0; i < listing_.size(); ++i)
            if (listing_[i].kind == Kind::picture) pictures_.push_back(i);
        isUsed_.resize(pictures_.size());
        std::size_t last = 0;
        for (std::size_t page = 0; page < pages_.size(); ++page) {
            for (std::size_t i = 0; i < pages_[page].painted.size(); ++i) {
                auto& owner = owners_[page][i];
                if (pages_[page].painted[i].kind == Painted::Kind::picture) owner = pictureLike(page, i, last);
                if (owner < blank) last = owner;
            }
        }
    }

    // The first picture of this shape behind the node; else the first at all.
    std::size_t pictureLike(std::size_t page, std::size_t painted, std::size_t behind) {
        constexpr std::ptrdiff_t maxTries = 64;
        const auto& box = pages_[page].painted[painted].box;
        const auto from = std::ranges::lower_bound(pictures_, behind);
        const std::array starts{from, pictures_.begin()};
        for (const auto start : starts) {
            const auto tries = std::min(maxTries, pictures_.end() - start);
            for (auto i = start; i < start + tries; ++i) {
                const auto number = static_cast<std::size_t>(i - pictures_.begin());
                if (isUsed_[number] || !isOfShape(listing_[*i], box[2] - box[0], box[3] - box[1])) continue;
                isUsed_[number] = true;
                return listing_[*i].text.empty() ? none : *i;
            }
        }
        return none;
    }

    static bool isOfShape(const ListedNode& picture, double width, double height) {
        constexpr double tolerance = 0.06;   // edges are rounded to pixels
        const auto isNear = [&](double w, double h) {
            return std::abs(width * h - height * w) <= tolerance * width * h;
        };
        return width > 0 && height > 0 &&
               (isNear(picture.width, picture.height) || isNear(picture.naturalWidth, picture.naturalHeight));
    }

    struct Waiting {
        const ShownText* text;
        std::size_t* owner;
    };

    const PageListing& listing_;
    const std::vector<PaintedPage>& pages_;
    std::vector<std::vector<std::size_t>> owners_;   // by page and what is painted
    std::vector<std::vector<AddedBlank>> blanks_;    // by page
    std::vector<bool> isBegun_;                      // by node: something of it has been shown
    std::vector<Waiting> waiting_;                   // texts that are not listed
    const ShownText* last_ = nullptr;                // that is listed
    std::size_t lastOwner_ = none;
    std::size_t shownCharacters_ = 0, foreign_ = 0;
    std::vector<std::size_t> pictures_;   // nodes
    std::vector<bool> isUsed_;            // by picture
};

class Builder {
public:
    Builder(const PageListing& listing, const std::vector<PaintedPage>& pages, const Owners& owners)
        : listing_(listing),
          pages_(pages),
          owners_(owners),
          contents_(listing.size()),
          isKept_(listing.size()),
          elements_(listing.size()),
          missing_(listing.size()),
          rowSpans_(listing.size(), 1),
          isNoTable_(listing.size()) {}

    Structure build() {
        countOwned();
        for (std::size_t page = 0; page < pages_.size(); ++page) mark(page);
        collectLinks();
        keepNodes();
        layOutTables();
        addElements();
        return std::move(all_);
    }

private:
    std::size_t elementOf(std::size_t node) const {
        return listing_[node].kind == Kind::element ? node : listing_[node].parent;
    }

    void countOwned() {
        std::vector<bool> isOwner(listing_.size());
        for (std::size_t page = 0; page < pages_.size(); ++page)
            for (std::size_t i = 0; i < pages_[page].painted.size(); ++i)
                if (const auto owner = owners_.of(page, i); owner < Owners::blank) isOwner[owner] = true;
        ownersBefore_.push_back(0);
        for (const bool is : isOwner) ownersBefore_.push_back(ownersBefore_.back() + (is ? 1 : 0));
    }

    // What is painted in a row and read in a row is one marked content.
    void mark(std::size_t page) {
        auto& marks = all_.marks.emplace_back();
        std::size_t count = 0, last = Owners::none;
        for (std::size_t i = 0; i < pages_[page].painted.size(); ++i) {
            const auto& each = pages_[page].painted[i];
            const auto owner = owners_.of(page, i);
            const bool isRead = owner < Owners::blank;
            const bool joins =
                !marks.empty() && (isRead ? continues(last, owner) : !marks.back().number || owner == Owners::blank);
            if (joins) {
                marks.back().end = each.end;
            } else if (isRead) {
                if (contents_[owner].empty()) baselines_[owner] = each.baseline.value_or(0);
                contents_[owner].push_back({Part::Kind::content, page, count});
                marks.push_back({each.begin, each.end, count++});
                if (listing_[owner].kind == Kind::picture) boxes_[owner] = each.box;
            } else {
                marks.push_back({each.begin, each.end});
            }
            if (isRead || !joins) last = isRead ? owner : Owners::none;
        }
    }

    bool continues(std::size_t last, std::size_t next) const {
        if (last >= Owners::blank || listing_[next].kind == Kind::picture || listing_[last].kind == Kind::picture)
            return false;
        if (last == next) return true;
        return last < next && elementOf(last) == elementOf(next) && contents_[next].empty() &&
               ownersBefore_[next] == ownersBefore_[last + 1];
    }

    // Lays every annotation into the listed link that it belongs to.
    void collectLinks() {
        std::map<std::size_t, std::size_t> nodes;   // by number, the first if there are several
        for (std::size_t i = 1; i < listing_.size(); ++i)
            if (isNamed(i, "Link") && listing_[i].link) nodes.emplace(*listing_[i].link, i);
        for (std::size_t page = 0; page < pages_.size(); ++page) {
            for (std::size_t i = 0; i < pages_[page].links.size(); ++i) {
                const auto number = pages_[page].links[i];
                const auto node = number ? nodes.find(*number) : nodes.end();
                links_[node == nodes.end() ? 0 : node->second].push_back({Part::Kind::annotation, page, i});
            }
        }
    }

    bool isNamed(std::size_t node, std::string_view name) const {
        return listing_[node].kind == Kind::element && listing_[node].text == name;
    }
    bool isCell(std::size_t node) const { return isNamed(node, "TD") || isNamed(node, "TH"); }

    // Elements that hold something, and all cells of a table that does.
    void keepNodes() {
        isKept_[0] = true;
        for (auto i = listing_.size() - 1; i > 0; --i) {
            if (!contents_[i].empty() || links_.contains(i)) isKept_[i] = true;
            if (isKept_[i]) isKept_[listing_[i].parent] = true;
        }
        for (std::size_t i = 1; i < listing_.size(); ++i)
            if ((isNamed(i, "TR") || isCell(i)) && isKept_[listing_[i].parent]) isKept_[i] = true;
    }

    void layOutTables() {
        std::map<std::size_t, std::vector<std::size_t>> rowsOf, cellsOf;   // by table, by row
        for (std::size_t i = 1; i < listing_.size(); ++i) {
            if (isKept_[i] && isNamed(i, "TR")) rowsOf[listing_[i].parent].push_back(i);
            if (isKept_[i] && isCell(i)) cellsOf[listing_[i].parent].push_back(i);
        }
        for (const auto& [table, rows] : rowsOf) {
            std::vector<std::vector<TableCell>> cells;
            for (const auto row : rows) {
                auto& line = cells.emplace_back();
                for (const auto cell : cellsOf[row])
                    line.push_back({std::max<std::size_t>(listing_[cell].rows, 1),
                                    std::max<std::size_t>(listing_[cell].columns, 1)});
            }
            const auto grid = layOutGrid(cells);
            isNoTable_[table] = !grid;
            for (std::size_t row = 0; row < rows.size(); ++row) {
                isNoTable_[rows[row]] = !grid;
                if (grid) missing_[rows[row]] = grid->missing[row];
                for (std::size_t i = 0; i < cellsOf[rows[row]].size(); ++i) {
                    const auto cell = cellsOf[rows[row]][i];
                    isNoTable_[cell] = !grid;
                    if (grid) rowSpans_[cell] = grid->rowSpans[row][i];
                }
            }
        }
    }

    void addElements() {
        std::vector<std::pair<std::size_t, std::size_t>> shortRows;   // element, cells missing
        for (std::size_t i = 1; i < listing_.size(); ++i) {
            if (!isKept_[i]) continue;
            const auto parent = elements_[listing_[i].parent];
            if (listing_[i].kind == Kind::text) {
                append(parent, contents_[i]);
                continue;
            }
            if (isDissolved(i)) {
                elements_[i] = parent;
            } else {
                elements_[i] = all_.elements.size();
                all_.elements[parent].parts.push_back({Part::Kind::element, 0, elements_[i]});
                all_.elements.push_back(elementFor(i));
                if (missing_[i] > 0) shortRows.emplace_back(elements_[i], missing_[i]);
            }
            append(elements_[i], contents_[i]);
        }
        for (const auto& [row, count] : shortRows)
            for (std::size_t i = 0; i < count; ++i) add(row, {"TD"});
        addLinks();
    }

    // Behind what the element shows; those without an element follow everything else.
    void addLinks() {
        for (const auto& [node, annotations] : links_) {
            if (node > 0) append(elements_[node], annotations);
            for (std::size_t i = 0; node == 0 && i < annotations.size(); ++i)
                add(0, {"Link", {}, {}, {annotations[i]}});
        }
    }

    // A link that opens nothing is its text; so is what is no table.
    bool isDissolved(std::size_t node) const {
        if (isNamed(node, "Link")) return !links_.contains(node);
        return isNoTable_[node] && !isCell(node);
    }

    Element elementFor(std::size_t node) {
        const auto& listed = listing_[node];
        Element element;
        if (listed.kind == Kind::picture) {
            element.type = "Figure";
            element.alternative = listed.text;
            element.attributes = "<< /O /Layout /BBox [";
            for (const double side : boxes_[node]) element.attributes += " " + QUtil::double_to_string(side, 1);
            element.attributes += " ] >>";
        } else if (isCell(node)) {
            element.type = isNoTable_[node] ? "Div" : listed.text;
            if (!isNoTable_[node]) element.attributes = attributesOf(node);
        } else {
            element.type = listed.text;
            if (element.type.size() == 2 && element.type[0] == 'H') {
                level_ = std::min(static_cast<char>(level_ + 1), element.type[1]);
                element.type[1] = level_;
                noteHeading(node);
            }
        }
        return element;
    }

    // An outline has room for some words of it.
    void noteHeading(std::size_t node) {
        constexpr std::size_t maxText = 200;
        constexpr double aboveBaseline = 24;   // in points, a line and some air
        Heading heading{.level = level_ - '0'};
        const Part* first = nullptr;
        for (auto i = node + 1; i < listing_.size() && listing_[i].parent >= node && heading.text.size() < maxText;
             ++i) {
            if (contents_[i].empty()) continue;
            if (!first) {
                first = &contents_[i].front();
                heading.page = first->page;
                heading.top = baselines_[i] + aboveBaseline;
            }
            if (listing_[i].kind == Kind::text) heading.text += listing_[i].text;
        }
        heading.text = inOneLine(text::prefix(heading.text, maxText));
        if (!heading.text.empty()) all_.headings.push_back(std::move(heading));
    }

    static std::string inOneLine(std::string_view text) {
        std::string line;
        for (const char c : text) {
            const bool isBlank = static_cast<unsigned char>(c) <= 0x20;
            if (!isBlank)
                line += c;
            else if (!line.empty() && line.back() != ' ')
                line += ' ';
        }
        if (!line.empty() && line.back() == ' ') line.pop_back();
        return line;
    }

    std::string attributesOf(std::size_t cell) const {
        const auto& listed = listing_[cell];
        std::string text;
        if (rowSpans_[cell] > 1) text += "/RowSpan " + std::to_string(rowSpans_[cell]);
        if (listed.columns > 1) text += "/ColSpan " + std::to_string(listed.columns);
        if (listed.text == "TH") text += listed.scope == ListedNode::Scope::row ? "/Scope /Row" : "/Scope /Column";
        return text.empty() ? text : "<< /O /Table " + text + " >>";
    }

    void append(std::size_t element, const std::vector<Part>& parts) {
        auto& all = all_.elements[element].parts;
        all.insert(all.end(), parts.begin(), parts.end());
    }
    void add(std::size_t parent, Element element) {
        all_.elements[parent].parts.push_back({Part::Kind::element, 0, all_.elements.size()});
        all_.elements.push_back(std::move(element));
    }

    const PageListing& listing_;
    const std::vector<PaintedPage>& pages_;
    const Owners& owners_;
    std::vector<std::size_t> ownersBefore_;                // by node, the nodes before it that own something
    std::vector<std::vector<Part>> contents_;              // by node
    std::vector<bool> isKept_;                             // by node
    std::vector<std::size_t> elements_;                    // by node, the element it is or is part of
    std::vector<std::size_t> missing_, rowSpans_;          // by row, by cell
    std::vector<bool> isNoTable_;                          // by node: within a table whose cells overlap
    std::map<std::size_t, std::array<double, 4>> boxes_;   // by picture
    std::map<std::size_t, std::vector<Part>> links_;       // annotations by node; 0: of none
    std::map<std::size_t, double> baselines_;              // by node, of what it shows first
    char level_ = '0';                                     // of the last heading
    Structure all_;
};

}   // namespace

ListedStructure listedStructure(const PageListing& listing, const std::vector<PaintedPage>& pages) {
    if (auto why = whyNoTree(listing); !why.empty()) return {{}, std::move(why)};
    Owners owners(listing, pages);
    if (auto why = owners.find(); !why.empty()) return {{}, std::move(why)};
    auto structure = Builder(listing, pages, owners).build();
    structure.blanks = owners.takeBlanks();
    return {std::move(structure), {}};
}

}   // namespace ostrel::pdf
