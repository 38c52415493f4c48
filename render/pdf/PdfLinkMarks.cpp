#include "render/pdf/PdfLinkMarks.h"

#include "render/pdf/PdfStreams.h"
#include "render/pdf/PdfTokens.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <unordered_map>

#include <qpdf/QPDFMatrix.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>

namespace ostrel::pdf {
namespace {

// The engine puts a form where something is see-through as a whole. More of them within each other, or a file that
// draws its forms over and over, are not its work.
constexpr int deepestForm = 64;
constexpr std::size_t mostFormsDrawn = 200'000;

// Pieces that stand this close, in points, touch: the engine rounds boxes to pixels.
constexpr double touching = 1.5;

struct Box {
    double left = 0, bottom = 0, right = 0, top = 0;

    static Box nothing() {
        constexpr double far = std::numeric_limits<double>::max();
        return {far, far, -far, -far};
    }
    static Box everything() { return {-1e6, -1e6, 1e6, 1e6}; }
    bool isEmpty() const { return !(left < right && bottom < top); }
    double width() const { return right - left; }
    double height() const { return top - bottom; }
    void add(double x, double y) { add(Box{x, y, x, y}); }
    void add(const Box& other) {
        left = std::min(left, other.left);
        bottom = std::min(bottom, other.bottom);
        right = std::max(right, other.right);
        top = std::max(top, other.top);
    }
    Box within(const Box& other) const {
        return {std::max(left, other.left), std::max(bottom, other.bottom), std::min(right, other.right),
                std::min(top, other.top)};
    }
    Box movedBy(const QPDFMatrix& matrix) const {
        if (isEmpty()) return *this;
        const auto moved = matrix.transformRectangle({left, bottom, right, top});
        return {moved.llx, moved.lly, moved.urx, moved.ury};
    }
};

struct Piece {
    std::size_t link = 0;
    Box box;
};

// A form drawn by the content.
struct DrawnForm {
    QPDFObjGen form;
    QPDFMatrix matrix;   // from the form's space
    Box clip;
};

// What one stream of content holds, in its own space.
struct Marked {
    std::vector<Piece> pieces;
    std::vector<DrawnForm> forms;
    std::vector<QPDFObjectHandle> used;                      // all content that it draws with, forms included
    std::vector<std::pair<std::size_t, std::size_t>> cuts;   // begin and end of what only draws marks, ascending
};

using LinkOfColour = std::unordered_map<std::uint32_t, std::size_t>;

// Follows place, clip and colour through one stream of content (ISO 32000-1 §8.4, §8.5).
class MarkReader {
public:
    MarkReader(QPDFObjectHandle resources, const LinkOfColour& links) : resources_(resources), links_(links) {}

    // Nothing when the content is not understood.
    std::optional<Marked> read(std::string_view content) {
        Tokens tokens(content);
        std::string_view name;
        while (const auto token = tokens.next()) {
            const auto at = static_cast<std::size_t>(token->text.data() - content.data());
            if (token->kind == Token::Kind::name) name = token->text;
            if (token->isNumber()) {
                if (operands_.empty()) operandsAt_ = at;
                if (operands_.size() < 6) operands_.push_back(number(token->text));
            } else if (token->kind == Token::Kind::word) {
                end_ = at + token->text.size();
                begin_ = operands_.empty() ? at : operandsAt_;
                if (!apply(token->text, name)) return std::nullopt;
                operands_.clear();
            }
        }
        if (tokens.isBroken()) return std::nullopt;
        if (!paintsInMarkColours_) std::ranges::copy(colourChanges_, std::back_inserter(found_.cuts));
        std::ranges::sort(found_.cuts);
        return std::move(found_);
    }

private:
    struct State {
        QPDFMatrix matrix;
        Box clip = Box::everything();
        std::optional<std::size_t> fill, stroke;   // the links whose colours these are
        double alpha = 1;                          // of what is filled
    };

    static double number(std::string_view word) {
        if (word.starts_with('+')) word.remove_prefix(1);
        double value = 0;
        std::from_chars(word.data(), word.data() + word.size(), value);
        return value;
    }

    bool apply(std::string_view op, std::string_view name) {
        const auto& n = operands_;
        const auto count = n.size();
        if (op == "q") {
            saved_.push_back(now_);
        } else if (op == "Q") {
            if (saved_.empty()) return false;
            now_ = saved_.back();
            saved_.pop_back();
        } else if (op == "cm" && count == 6) {
            now_.matrix.concat(QPDFMatrix(n[0], n[1], n[2], n[3], n[4], n[5]));
        } else if (op == "rg" || op == "RG") {
            const auto link = count == 3 ? linkOf(n[0], n[1], n[2]) : std::nullopt;
            (op == "rg" ? now_.fill : now_.stroke) = link;
            if (link) colourChanges_.emplace_back(begin_, end_);
        } else if (op == "g" || op == "k" || op == "cs" || op == "sc" || op == "scn") {
            now_.fill.reset();
            if (op == "scn") use(resource("/Pattern", name));
        } else if (op == "G" || op == "K" || op == "CS" || op == "SC" || op == "SCN") {
            now_.stroke.reset();
            if (op == "SCN") use(resource("/Pattern", name));
        } else if (op == "gs") {
            auto state = resource("/ExtGState", name);
            if (auto alpha = state.getKey("/ca"); alpha.isNumber()) now_.alpha = alpha.getNumericValue();
            if (auto mask = state.getKey("/SMask"); mask.isDictionary()) use(mask.getKey("/G"));
        } else if (op == "Do") {
            paints();
            auto form = resource("/XObject", name);
            if (form.isStream() && form.getDict().getKey("/Subtype").isNameAndEquals("/Form")) {
                use(form);
                found_.forms.push_back({form.getObjGen(), now_.matrix, now_.clip});
            }
        } else if (op == "Tj" || op == "TJ" || op == "'" || op == "\"") {
            paints();
        } else if (op == "BI") {
            return false;   // an inline image's bytes can look like anything
        } else {
            path(op);
        }
        return true;
    }

    void path(std::string_view op) {
        const auto& n = operands_;
        if (op == "re" && n.size() == 4) {
            point(n[0], n[1]);
            point(n[0] + n[2], n[1] + n[3]);
            point(n[0] + n[2], n[1]);
            point(n[0], n[1] + n[3]);
        } else if (op == "m" || op == "l" || op == "c" || op == "v" || op == "y") {
            for (std::size_t i = 0; i + 1 < n.size(); i += 2) point(n[i], n[i + 1]);
        } else if (op == "W" || op == "W*") {
            clips_ = true;
        } else if (op == "f" || op == "f*" || op == "F") {
            fill();
        } else if (op == "n") {
            endPath();
        } else if (op == "S" || op == "s" || op == "B" || op == "B*" || op == "b" || op == "b*") {
            paints();
            endPath();
        }
    }

    // Something that stays on the page.
    void paints() {
        if (now_.fill || now_.stroke) paintsInMarkColours_ = true;
    }

    // Patterns that are but shadings, and pictures, hold no content.
    void use(QPDFObjectHandle content) {
        if (content.isStream() && content.isIndirect()) found_.used.push_back(content);
    }

    void point(double x, double y) {
        if (!pathAt_) pathAt_ = begin_;
        now_.matrix.transform(x, y, x, y);
        path_.add(x, y);
    }

    void fill() {
        const bool isMark = now_.fill && now_.alpha > 0 && now_.alpha * 255 < 1.05 && pathAt_ && !clips_;
        if (isMark) {
            found_.pieces.push_back({*now_.fill, path_.within(now_.clip)});
            found_.cuts.emplace_back(*pathAt_, end_);
        } else {
            paints();
        }
        endPath();
    }

    void endPath() {
        if (clips_) now_.clip = now_.clip.within(path_);
        clips_ = false;
        pathAt_.reset();
        path_ = Box::nothing();
    }

    std::optional<std::size_t> linkOf(double red, double green, double blue) const {
        std::uint32_t colour = 0;
        for (const double part : {red, green, blue}) {
            const double level = std::round(part * 255);
            if (!(level >= 0 && level <= 255) || std::abs(part * 255 - level) > 0.05) return std::nullopt;
            colour = colour << 8 | static_cast<std::uint32_t>(level);
        }
        const auto found = links_.find(colour);
        return found == links_.end() ? std::nullopt : std::optional(found->second);
    }

    QPDFObjectHandle resource(const char* kind, std::string_view name) {
        auto all = resources_.isDictionary() ? resources_.getKey(kind) : QPDFObjectHandle::newNull();
        auto one = all.isDictionary() ? all.getKey("/" + std::string(name)) : QPDFObjectHandle::newNull();
        return one.isNull() ? QPDFObjectHandle::newDictionary() : one;
    }

    QPDFObjectHandle resources_;
    const LinkOfColour& links_;
    Marked found_;
    State now_;
    std::vector<State> saved_;
    std::vector<double> operands_;
    std::size_t operandsAt_ = 0, begin_ = 0, end_ = 0;   // of the operator at hand
    std::optional<std::size_t> pathAt_;
    Box path_ = Box::nothing();
    bool clips_ = false;
    std::vector<std::pair<std::size_t, std::size_t>> colourChanges_;   // to those of marks
    bool paintsInMarkColours_ = false;                                 // also something else
};

std::string without(std::string_view content, const std::vector<std::pair<std::size_t, std::size_t>>& cuts) {
    std::string kept;
    kept.reserve(content.size());
    std::size_t from = 0;
    for (const auto& [begin, end] : cuts) {
        kept += content.substr(from, begin - from);
        from = end;
    }
    kept += content.substr(from);
    return kept;
}

// All content that the pages draw, read, and with it what to put in its place.
struct ReadFile {
    std::map<QPDFObjGen, Marked> streams;
    std::vector<std::pair<QPDFObjectHandle, std::string>> unmarked;
};

std::optional<ReadFile> readContents(QPDF& file, const LinkOfColour& links) {
    ReadFile all;
    std::vector<std::pair<QPDFObjectHandle, QPDFObjectHandle>> waiting;   // with the resources
    for (auto& page : QPDFPageDocumentHelper(file).getAllPages()) {
        auto dict = page.getObjectHandle();
        if (dict.getKey("/Contents").isArray()) page.coalesceContentStreams();
        if (auto content = dict.getKey("/Contents"); content.isStream())
            waiting.emplace_back(content, page.getAttribute("/Resources", false));
    }
    while (!waiting.empty()) {
        auto [stream, resources] = waiting.back();
        waiting.pop_back();
        const auto place = all.streams.try_emplace(stream.getObjGen());
        if (!place.second) continue;
        const auto text = decoded(stream);
        if (!text) return std::nullopt;
        auto marked = MarkReader(resources, links).read(*text);
        if (!marked) return std::nullopt;
        if (!marked->cuts.empty()) all.unmarked.emplace_back(stream, without(*text, marked->cuts));
        for (auto& used : marked->used) waiting.emplace_back(used, used.getDict().getKey("/Resources"));
        marked->used.clear();
        place.first->second = std::move(*marked);
    }
    return all;
}

// Finds the pieces on a page, those within the forms it draws included.
class PageWalk {
public:
    PageWalk(QPDF& file, const std::map<QPDFObjGen, Marked>& streams) : file_(file), streams_(streams) {}

    std::vector<Piece> piecesOn(QPDFObjectHandle content, const Box& paper) {
        found_.clear();
        visit(content.getObjGen(), QPDFMatrix(), paper, 0);
        return std::move(found_);
    }
    bool gaveUp() const { return drawn_ > mostFormsDrawn; }

private:
    // What the rounding at the edge of a page leaves of a line that is on the other one.
    static bool isSliver(double seen, double whole) { return seen < touching && seen < whole / 2; }

    void visit(QPDFObjGen stream, const QPDFMatrix& matrix, const Box& clip, int depth) {
        const auto at = streams_.find(stream);
        if (at == streams_.end() || depth > deepestForm || gaveUp()) return;
        for (const auto& piece : at->second.pieces) {
            const auto whole = piece.box.movedBy(matrix), seen = whole.within(clip);
            if (!seen.isEmpty() && !isSliver(seen.width(), whole.width()) && !isSliver(seen.height(), whole.height()))
                found_.push_back({piece.link, seen});
        }
        for (const auto& drawn : at->second.forms) {
            if (++drawn_ > mostFormsDrawn) return;
            auto inner = matrix;
            inner.concat(drawn.matrix);
            if (auto own = file_.getObjectByObjGen(drawn.form).getDict().getKey("/Matrix"); own.isMatrix())
                inner.concat(QPDFMatrix(own.getArrayAsMatrix()));
            visit(drawn.form, inner, drawn.clip.movedBy(matrix).within(clip), depth + 1);
        }
    }

    QPDF& file_;
    const std::map<QPDFObjGen, Marked>& streams_;
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

std::vector<LinkArea> takeLinkMarks(QPDF& file, const std::vector<LinkMark>& marks) {
    if (marks.empty()) return {};
    const MarksOfColours colours(marks);
    auto contents = readContents(file, colours.links());
    if (!contents) return {};

    std::vector<MarkedArea> areas;
    PageWalk walk(file, contents->streams);
    std::size_t number = 0;
    for (auto& page : QPDFPageDocumentHelper(file).getAllPages()) {
        auto box = page.getMediaBox();
        if (!box.isRectangle()) return {};
        const auto paper = box.getArrayAsRectangle();
        auto pieces =
            walk.piecesOn(page.getObjectHandle().getKey("/Contents"), {paper.llx, paper.lly, paper.urx, paper.ury});
        for (const auto& [link, place] : joined(std::move(pieces)))
            areas.push_back(
                {link, {number, place.left - paper.llx, paper.ury - place.top, place.width(), place.height(), ""}});
        ++number;
    }
    const auto none = QPDFObjectHandle::newNull();
    for (auto& [stream, text] : contents->unmarked) stream.replaceStreamData(text, none, none);   // to be packed later
    return walk.gaveUp() ? std::vector<LinkArea>() : colours.linksOn(areas);
}

}   // namespace ostrel::pdf
