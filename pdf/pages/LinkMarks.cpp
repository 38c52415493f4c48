#include "pdf/pages/LinkMarks.h"

#include "pdf/pages/MarkReader.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>

#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>

namespace ostrel::pdf {
namespace {

// The engine makes a form of what is transparent as a whole. More of them within each other, or a file that draws its
// forms over and over, are not its work.
constexpr int maxFormDepth = 64;
constexpr std::size_t maxFormsDrawn = 200'000;

// Pieces that stand this close, in points, touch: the engine rounds boxes to pixels.
constexpr double touching = 1.5;

using MarkedContents = std::map<QPDFObjGen, Marked>;   // by stream

// Reads all content that the pages draw.
MarkedContents readContents(Contents& contents, const LinkOfColour& links) {
    MarkedContents all;
    std::vector<Content*> waiting;
    for (auto& content : contents.all())
        if (content.kind == Content::Kind::page) waiting.push_back(&content);
    while (!waiting.empty()) {
        auto& content = *waiting.back();
        waiting.pop_back();
        const auto place = all.try_emplace(content.stream.getObjGen());
        if (!place.second) continue;
        const auto text = contents.textOf(content);
        if (!text) throw UnreadableContent("content that cannot be unpacked");
        auto marked = readMarks(*text, content.resources, links);
        for (auto& used : std::exchange(marked.used, {}))
            if (auto* const found = contents.find(used)) waiting.push_back(found);
        place.first->second = std::move(marked);
    }
    return all;
}

// Finds the pieces on a page, those within the forms it draws included.
class PageWalk {
public:
    PageWalk(QPDF& file, const MarkedContents& streams) : file_(file), streams_(streams) {}

    std::vector<Piece> piecesOn(QPDFObjectHandle content, const Box& paper) {
        found_.clear();
        visit(content.getObjGen(), QPDFMatrix(), paper, 0);
        return std::move(found_);
    }
    bool gaveUp() const { return drawn_ > maxFormsDrawn; }

private:
    // What the rounding at the edge of a page leaves of a line that is on the other one.
    static bool isSliver(double seen, double whole) { return seen < touching && seen < whole / 2; }

    void visit(QPDFObjGen stream, const QPDFMatrix& matrix, const Box& clip, int depth) {
        const auto at = streams_.find(stream);
        if (at == streams_.end() || depth > maxFormDepth || gaveUp()) return;
        for (const auto& piece : at->second.pieces) {
            const auto whole = piece.box.movedBy(matrix), seen = whole.within(clip);
            if (!seen.isEmpty() && !isSliver(seen.width(), whole.width()) && !isSliver(seen.height(), whole.height()))
                found_.push_back({piece.link, seen});
        }
        for (const auto& drawn : at->second.forms) {
            if (++drawn_ > maxFormsDrawn) return;
            auto inner = matrix;
            inner.concat(drawn.matrix);
            if (auto own = file_.getObjectByObjGen(drawn.form).getDict().getKey("/Matrix"); own.isMatrix())
                inner.concat(QPDFMatrix(own.getArrayAsMatrix()));
            visit(drawn.form, inner, drawn.clip.movedBy(matrix).within(clip), depth + 1);
        }
    }

    QPDF& file_;
    const MarkedContents& streams_;
    std::vector<Piece> found_;
    std::size_t drawn_ = 0;
};

bool isNear(double a, double b) { return std::abs(a - b) < touching; }

// Pieces become one where their outline stays a rectangle that covers nothing else: side by side on a line, stacked in
// a column, or one within the other.
bool joins(const Box& a, const Box& b) {
    const auto common = a.within(b);
    if (common.width() < -touching || common.height() < -touching) return false;
    const bool areOnOneLine = common.height() > std::max(a.height(), b.height()) / 2;
    const bool areInOneColumn = isNear(a.left, b.left) && isNear(a.right, b.right);
    const double smaller = std::min(a.width() * a.height(), b.width() * b.height());
    return areOnOneLine || areInOneColumn || (!common.isEmpty() && common.width() * common.height() > smaller * 0.6);
}

// In the order drawn, which is line by line: only neighbours can touch.
std::vector<Piece> joined(std::vector<Piece> pieces) {
    std::ranges::stable_sort(pieces, {}, &Piece::link);
    std::vector<Piece> whole;
    for (const auto& piece : pieces) {
        if (!whole.empty() && whole.back().link == piece.link && joins(whole.back().box, piece.box))
            whole.back().box.add(piece.box);
        else
            whole.push_back(piece);
    }
    return whole;
}

// Where a mark's colour was found; its address is not told yet.
struct MarkedArea {
    std::size_t link = 0;
    LinkArea area;
};

// Which marks a colour stands for.
class MarksOfColours {
public:
    explicit MarksOfColours(const std::vector<LinkMark>& marks) : marks_(marks) {
        for (std::size_t i = 0; i < marks.size(); ++i)
            marksOf_[links_.emplace(marks[i].colour, i).first->second].push_back(i);
    }

    const LinkOfColour& links() const { return links_; }

    std::vector<LinkArea> linksOn(const std::vector<MarkedArea>& areas) const {
        std::unordered_map<std::size_t, std::size_t> count;
        for (const auto& marked : areas) ++count[marked.link];
        std::vector<LinkArea> all;
        for (const auto& [link, area] : areas) {
            for (const auto i : marksOf_.at(link)) {
                const auto& part = marks_[i].part;
                if (part && (count[link] > 1 || !isInShape(area, *part))) continue;
                all.push_back(part ? partOf(area, *part) : area);
                all.back().url = marks_[i].url;
                all.back().element = marks_[i].element;
                all.back().attachment = marks_[i].attachment;
            }
        }
        return all;
    }

private:
    static bool isInShape(const LinkArea& box, const PartOfBox& part) {
        return std::abs(box.width - part.shape * box.height) <= touching * (1 + part.shape);
    }
    static LinkArea partOf(const LinkArea& box, const PartOfBox& part) {
        return {box.page,
                box.x + part.left * box.width,
                box.y + part.top * box.height,
                part.width * box.width,
                part.height * box.height,
                ""};
    }

    const std::vector<LinkMark>& marks_;
    LinkOfColour links_;   // to the first mark of each colour
    std::unordered_map<std::size_t, std::vector<std::size_t>> marksOf_;
};

}   // namespace

TakenMarks takeLinkMarks(QPDF& file, Contents& contents, const std::vector<LinkMark>& marks) {
    if (marks.empty()) return {};
    const MarksOfColours colours(marks);
    MarkedContents marked;
    try {
        marked = readContents(contents, colours.links());
    } catch (const UnreadableContent& problem) {
        return {{}, problem.what()};
    }

    std::vector<MarkedArea> areas;
    PageWalk walk(file, marked);
    std::size_t number = 0;
    for (auto& page : QPDFPageDocumentHelper(file).getAllPages()) {
        auto box = page.getMediaBox();
        if (!box.isRectangle()) return {{}, "a page without a size"};
        const auto paper = box.getArrayAsRectangle();
        auto pieces =
            walk.piecesOn(page.getObjectHandle().getKey("/Contents"), {paper.llx, paper.lly, paper.urx, paper.ury});
        for (const auto& [link, place] : joined(std::move(pieces)))
            areas.push_back(
                {link, {number, place.left - paper.llx, paper.ury - place.top, place.width(), place.height(), ""}});
        ++number;
    }
    for (auto& content : contents.all())
        if (const auto found = marked.find(content.stream.getObjGen());
            found != marked.end() && found->second.withoutMarks)
            contents.replace(content, std::move(*found->second.withoutMarks));
    if (walk.gaveUp()) return {{}, "forms drawn too often"};
    return {colours.linksOn(areas), {}};
}

}   // namespace ostrel::pdf
