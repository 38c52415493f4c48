#include "pdf/pages/EmptySheets.h"

#include "pdf/content/ContentReader.h"
#include "pdf/content/Resources.h"
#include "pdf/content/StateStack.h"
#include "pdf/pages/MarkReader.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <qpdf/QPDFMatrix.hh>
#include <unicode/uchar.h>

namespace ostrel::pdf {
namespace {

// In points. What is filled across the sheet and less high than this is a rule.
constexpr double minBackgroundHeight = 12;
constexpr double rounding = 1;

bool leavesNoInk(char16_t c) {
    constexpr char16_t oghamSpace = 0x1680;   // a line in most fonts
    const bool isZeroWidth = (c >= 0x200B && c <= 0x200D) || c == 0x2060 || c == 0xFEFF;
    return isZeroWidth || (c != oghamSpace && u_isUWhiteSpace(c));
}

// Follows one page's content until something leaves a mark (ISO 32000-1 §8.4, §8.5, §9.4).
class SheetReader {
public:
    SheetReader(QPDFObjectHandle resources, FontTexts& texts, const Box& paper)
        : resources_(resources), texts_(texts), paper_(paper) {}

    bool isEmpty(std::string_view content) {
        ContentReader reader(content);
        while (const auto operation = reader.next())
            if (!state_.follow(*operation) && !isNoMark(*operation)) return false;
        return !reader.isBroken();
    }

private:
    enum class Colour { white, other, pattern };
    struct State {
        QPDFMatrix matrix;
        Box clip = Box::everything();
        bool isClipRectangle = true;
        Colour fill = Colour::other;
        const ToUnicode* font = nullptr;   // null: none, or one of which it is not known what its glyphs are
    };

    // What is not listed here counts as a mark.
    bool isNoMark(const Operation& operation) {
        switch (operation.op) {
            case "cm"_op:
                return transform(operation);
            case "re"_op:
                return rectangle(operation);
            case "m"_op:
            case "l"_op:
            case "c"_op:
            case "v"_op:
            case "y"_op:
            case "h"_op:
                isPathOfRectangles_ = false;
                return true;
            case "W"_op:
            case "W*"_op:
                clips_ = true;
                return true;
            case "n"_op:
                endPath();
                return true;
            case "f"_op:
            case "F"_op:
            case "f*"_op:
                return fill();
            case "rg"_op:
            case "g"_op:
                state_->fill = isWhite(operation) ? Colour::white : Colour::other;
                return true;
            case "k"_op:
                state_->fill = Colour::other;
                return true;
            case "gs"_op:
                return isPlain(resources_.find("/ExtGState", operation.name()));
            case "Tf"_op:
                state_->font = fontNamed(operation.name());
                return true;
            case "Tj"_op:
            case "TJ"_op:
            case "'"_op:
            case "\""_op:
                return std::ranges::all_of(operation.operands, [this](const Token& operand) {
                    return operand.kind != Token::Kind::string || isBlank(operand);
                });
            default:
                return leavesPaperAlone(operation);
        }
    }

    // Other colours may be patterns, which are pictures.
    bool leavesPaperAlone(const Operation& operation) {
        switch (operation.op) {
            case "cs"_op:
            case "sc"_op:
            case "scn"_op:
                state_->fill = Colour::pattern;
                return true;
            case "RG"_op:
            case "G"_op:
            case "K"_op:
            case "CS"_op:
            case "SC"_op:
            case "SCN"_op:
            case "w"_op:
            case "J"_op:
            case "j"_op:
            case "M"_op:
            case "d"_op:
            case "i"_op:
            case "ri"_op:
            case "BT"_op:
            case "ET"_op:
            case "Tm"_op:
            case "Td"_op:
            case "TD"_op:
            case "T*"_op:
            case "Tc"_op:
            case "Tw"_op:
            case "Tz"_op:
            case "TL"_op:
            case "Ts"_op:
            case "Tr"_op:
                return true;
            default:
                return false;
        }
    }

    static bool isWhite(const Operation& operation) {
        return !operation.operands.empty() && std::ranges::all_of(operation.operands, [](const Token& operand) {
            return operand.kind == Token::Kind::number && operand.number() >= 1;
        });
    }

    // A matrix that turns makes other shapes of rectangles.
    bool transform(const Operation& operation) {
        const auto n = operation.numbers<6>();
        if (!n || (*n)[1] != 0 || (*n)[2] != 0) return false;
        state_->matrix.concat(QPDFMatrix((*n)[0], 0, 0, (*n)[3], (*n)[4], (*n)[5]));
        return true;
    }

    bool rectangle(const Operation& operation) {
        const auto n = operation.numbers<4>();
        if (!n) return false;
        const auto& [x, y, width, height] = *n;
        Box box = Box::nothing();
        for (const auto& [cornerX, cornerY] : {std::array{x, y}, std::array{x + width, y + height}}) {
            double movedX = 0, movedY = 0;
            state_->matrix.transform(cornerX, cornerY, movedX, movedY);
            box.add(movedX, movedY);
        }
        path_.push_back(box);
        return true;
    }

    bool fill() {
        const bool isBackground = isPathOfRectangles_ && std::ranges::all_of(path_, [this](const Box& box) {
                                      return this->isBackground(box);
                                  });
        endPath();
        return isBackground;
    }

    bool isBackground(const Box& box) {
        const auto seen = box.within(state_->clip).within(paper_);
        if (seen.right < seen.left || seen.top < seen.bottom) return true;   // nothing of it is on the sheet
        const bool isWhite = state_->fill == Colour::white;
        if (isWhite && !isColoured_) return true;
        isColoured_ = true;
        const auto& sheet = printed_.value_or(paper_);
        const bool isAcross = seen.left <= sheet.left + rounding && seen.right >= sheet.right - rounding;
        return state_->fill != Colour::pattern && state_->isClipRectangle && box.height() >= minBackgroundHeight &&
               (isWhite || isAcross);
    }

    void endPath() {
        if (clips_) {
            Box outline = Box::nothing();
            for (const auto& box : path_) outline.add(box);
            if (!isPathOfRectangles_ || path_.size() != 1) {
                state_->isClipRectangle = false;
            } else {
                state_->clip = state_->clip.within(outline);
                if (!printed_) printed_ = printedWithin(outline);
            }
        }
        clips_ = false;
        isPathOfRectangles_ = true;
        path_.clear();
    }

    // The engine first of all clips to what lies within the margins. These are never so wide as to leave less than
    // half.
    Box printedWithin(const Box& outline) const {
        const auto inner = outline.within(paper_);
        return inner.width() * 2 > paper_.width() ? inner : paper_;
    }

    // Opacity and lines aside, parameters may be masks, fonts and ways of mixing colours.
    static bool isPlain(QPDFObjectHandle parameters) {
        if (!parameters.isDictionary()) return false;
        static constexpr std::array<std::string_view, 10> plain{"/Type", "/CA", "/ca", "/LW", "/LC",
                                                                "/LJ",   "/ML", "/D",  "/SA", "/AIS"};
        return std::ranges::all_of(parameters.getKeys(), [&](const std::string& key) {
            auto value = parameters.getKey(key);
            if (key == "/BM") return value.isNameAndEquals("/Normal");
            if (key == "/SMask") return value.isNameAndEquals("/None");
            return std::ranges::find(plain, key) != plain.end();
        });
    }

    // Fonts whose glyphs are content of their own can draw anything under any name.
    const ToUnicode* fontNamed(std::string_view name) {
        auto font = resources_.find("/Font", name);
        const bool isComposite = font.isDictionary() && font.getKey("/Subtype").isNameAndEquals("/Type0");
        return isComposite ? texts_.of(font) : nullptr;
    }

    bool isBlank(const Token& shown) const {
        const auto codes = shown.bytes();
        if (codes.empty()) return true;
        if (!state_->font || codes.size() % state_->font->codeBytes != 0) return false;
        for (std::size_t i = 0; i < codes.size(); i += state_->font->codeBytes) {
            int code = 0;
            for (std::size_t k = 0; k < state_->font->codeBytes; ++k)
                code = code * 256 + static_cast<unsigned char>(codes[i + k]);
            const auto text = state_->font->texts.find(code);
            if (text == state_->font->texts.end() || text->second.empty()) return false;
            if (!std::ranges::all_of(text->second, leavesNoInk)) return false;
        }
        return true;
    }

    Resources resources_;
    FontTexts& texts_;
    const Box paper_;
    std::optional<Box> printed_;   // what lies within the margins
    StateStack<State> state_;
    bool isColoured_ = false;   // something on the sheet

    // The path under way.
    std::vector<Box> path_;
    bool isPathOfRectangles_ = true;
    bool clips_ = false;
};

bool isEmpty(QPDFObjectHandle page, Contents& contents, FontTexts& texts) {
    if (auto annotations = page.getKey("/Annots"); annotations.isArray() && annotations.getArrayNItems() > 0)
        return false;
    auto box = page.getKey("/MediaBox");
    auto* const content = contents.find(page.getKey("/Contents"));
    const auto text = content ? contents.textOf(*content) : nullptr;
    if (!text || !box.isRectangle()) return false;
    const auto paper = box.getArrayAsRectangle();
    return SheetReader(content->resources, texts, {paper.llx, paper.lly, paper.urx, paper.ury}).isEmpty(*text);
}

using Objects = std::set<QPDFObjGen>;

// Adds those of the pages that a direct object refers to.
void addReferences(QPDFObjectHandle object, const Objects& pages, Objects& found, int depth = 0) {
    constexpr int maxDepth = 100;
    if (depth > maxDepth) throw std::runtime_error("objects too deep within each other");
    const auto add = [&](QPDFObjectHandle child) {
        if (!child.isIndirect())
            addReferences(child, pages, found, depth + 1);
        else if (pages.contains(child.getObjGen()))
            found.insert(child.getObjGen());
    };
    if (object.isStream()) object = object.getDict();
    if (object.isDictionary())
        for (const auto& key : object.getKeys()) add(object.getKey(key));
    else if (object.isArray())
        for (int i = 0; i < object.getArrayNItems(); ++i) add(object.getArrayItem(i));
}

// Those that a destination, the structure, or anything but the tree of pages refers to.
Objects referredTo(QPDF& file, const Objects& pages) {
    Objects found;
    for (auto object : file.getAllObjects()) {
        const bool isTreeOfPages = object.isDictionary() && object.getKey("/Type").isNameAndEquals("/Pages");
        if (!isTreeOfPages) addReferences(object, pages, found);
    }
    return found;
}

// libqpdf takes a page away by going through all the others.
void keepFirst(QPDF& file, std::size_t count) {
    file.removePage(file.getAllPages().back());   // and has the rest below one node
    auto tree = file.getRoot().getKey("/Pages");
    auto pages = tree.getKey("/Kids").getArrayAsVector();
    if (pages.size() < count) throw std::runtime_error("pages are missing");
    pages.resize(count);
    tree.replaceKey("/Kids", QPDFObjectHandle::newArray(pages));
    tree.replaceKey("/Count", QPDFObjectHandle::newInteger(static_cast<long long>(count)));
    file.updateAllPagesCache();
}

}   // namespace

std::size_t takeOffEmptySheets(QPDF& file, Contents& contents, FontTexts& texts) {
    const auto pages = file.getAllPages();
    Objects empty;
    for (std::size_t i = pages.size(); i > 1 && isEmpty(pages[i - 1], contents, texts); --i)
        empty.insert(pages[i - 1].getObjGen());
    if (empty.empty()) return 0;

    const auto needed = referredTo(file, empty);
    std::size_t count = 0;
    for (; count < empty.size(); ++count) {
        auto last = pages[pages.size() - 1 - count];
        if (needed.contains(last.getObjGen())) break;
        contents.replace(*contents.find(last.getKey("/Contents")), "");   // it shows no glyphs any more
    }
    if (count > 0) keepFirst(file, pages.size() - count);
    return count;
}

}   // namespace ostrel::pdf
