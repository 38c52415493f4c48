#include "pdf/fonts/DrawnFonts.h"

#include "pdf/content/Resources.h"
#include "pdf/content/Streams.h"
#include "pdf/fonts/GlyphOutline.h"
#include "pdf/fonts/Recoding.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace ostrel::pdf {
namespace {

struct Glyph {
    std::string outline;
    QPDFObjectHandle width;
    std::u16string text;   // empty: it has none
};

// One of the engine's fonts, as far as it is used.
struct DrawnFont {
    QPDFObjectHandle dict;
    std::string typeface;          // the same for fonts that can be joined
    std::array<double, 4> box{};   // left, below, right, above
    std::map<int, Glyph> glyphs;   // by code
};

// Codes that strings hold as they are and that no operator treats in a way of its own.
constexpr auto freeCodes = [] {
    std::array<unsigned char, 220> codes{};
    std::size_t count = 0;
    for (int code = 33; code < 256; ++code)
        if (code != '(' && code != ')' && code != '\\') codes[count++] = static_cast<unsigned char>(code);
    return codes;
}();

// Several of them made one.
struct JoinedFont {
    std::vector<const DrawnFont*> members;
    std::array<double, 4> box{};
    std::size_t count = 0;                                      // of the glyphs
    std::map<QPDFObjGen, std::map<int, unsigned char>> codes;   // from a member's codes
    std::map<unsigned char, const Glyph*> glyphs;

    bool canTake(const DrawnFont& font) const {
        if (members.empty()) return true;
        // Viewers keep drawn glyphs as pictures as big as the font's box, and stop when that is too big.
        constexpr double maxWidening = 1.1;
        const double height = std::abs(box[3] - box[1]);
        return members.front()->typeface == font.typeface && count + font.glyphs.size() <= freeCodes.size() &&
               std::max(box[2], font.box[2]) - std::min(box[0], font.box[0]) <= height * maxWidening;
    }
    void take(const DrawnFont& font) {
        if (members.empty()) box = font.box;
        box[0] = std::min(box[0], font.box[0]);
        box[2] = std::max(box[2], font.box[2]);
        members.push_back(&font);
        count += font.glyphs.size();
    }
    // first: within freeCodes
    void number(std::size_t first) {
        for (const auto* member : members) {
            auto& own = codes[member->dict.getObjGen()];
            for (const auto& [code, glyph] : member->glyphs) {
                const auto free = freeCodes[first++ % freeCodes.size()];
                own.emplace(code, free);
                glyphs.emplace(free, &glyph);
            }
        }
    }
};

template <std::size_t count>
std::optional<std::array<double, count>> numbersOf(QPDFObjectHandle array) {
    std::array<double, count> numbers{};
    if (!array.isArray() || array.getArrayNItems() != static_cast<int>(count)) return std::nullopt;
    for (std::size_t i = 0; i < count; ++i) {
        auto item = array.getArrayItem(static_cast<int>(i));
        if (!item.isNumber()) return std::nullopt;
        numbers[i] = item.getNumericValue();
    }
    return numbers;
}

// The names of codes (ISO 32000-1 §9.6.6.2). nullopt if viewers may see more than numbers in them.
std::optional<std::map<int, std::string>> namesOf(QPDFObjectHandle font) {
    auto encoding = font.getKey("/Encoding");
    auto differences = encoding.isDictionary() ? encoding.getKey("/Differences") : encoding;
    if (!differences.isArray() || encoding.hasKey("/BaseEncoding")) return std::nullopt;
    std::map<int, std::string> names;
    int code = 0;
    for (auto& item : differences.getArrayAsVector()) {
        constexpr std::size_t oneLetter = 2;   // with the slash
        if (item.isInteger())
            code = item.getIntValueAsInt();
        else if (!item.isName() || item.getName().size() <= oneLetter || code < 0 || code > 255)
            return std::nullopt;
        else
            names.insert_or_assign(code++, item.getName());
    }
    return names;
}

// What fonts of one typeface have in common.
std::string typefaceOf(QPDFObjectHandle font, const std::array<double, 4>& box) {
    auto common = font.shallowCopy();
    for (const auto* key : {"/CharProcs", "/Encoding", "/FirstChar", "/FontBBox", "/LastChar", "/ToUnicode", "/Widths"})
        common.removeKey(key);
    auto descriptor = common.getKey("/FontDescriptor");
    common.removeKey("/FontDescriptor");
    return common.unparse() + descriptor.unparseResolved() + std::to_string(box[1]) + " " + std::to_string(box[3]);
}

using Outlines = std::map<QPDFObjGen, std::string>;   // of glyphs, by their streams, as shorterOutline() returns them

std::optional<DrawnFont> understood(QPDFObjectHandle font, const CodeSet& shown, const Outlines& outlines,
                                    FontTexts& allTexts) {
    if (!font.isDictionary() || !font.getKey("/Subtype").isNameAndEquals("/Type3")) return std::nullopt;
    const auto box = numbersOf<4>(font.getKey("/FontBBox")), noBox = std::optional(std::array<double, 4>{});
    const auto matrix = numbersOf<6>(font.getKey("/FontMatrix"));
    const auto names = namesOf(font);
    auto widths = font.getKey("/Widths"), first = font.getKey("/FirstChar"), procedures = font.getKey("/CharProcs");
    const auto* const texts = allTexts.of(font);
    const bool isKnown = box && box != noBox && (*box)[0] <= (*box)[2] && matrix && (*matrix)[2] == 0 &&
                         (*matrix)[5] == 0 && (*matrix)[0] > 0 && names && widths.isArray() && first.isInteger() &&
                         first.getIntValue() == 0 && procedures.isDictionary() && texts && texts->codeBytes == 1;
    if (!isKnown) return std::nullopt;

    DrawnFont drawn{font, typefaceOf(font, *box), *box, {}};
    for (int code = 0; code < 256; ++code) {
        if (!shown.test(static_cast<std::size_t>(code))) continue;
        const auto name = names->find(code);
        if (name == names->end() || code >= widths.getArrayNItems()) return std::nullopt;
        auto procedure = procedures.getKey(name->second);
        const auto outline = outlines.find(procedure.getObjGen());
        if (!procedure.isStream() || outline == outlines.end()) return std::nullopt;
        const auto text = texts->texts.find(code);
        drawn.glyphs.emplace(code, Glyph{outline->second, widths.getArrayItem(code),
                                         text == texts->texts.end() ? std::u16string() : text->second});
    }
    return drawn;
}

// A number without its sign, or with one.
QPDFObjectHandle opposite(QPDFObjectHandle number) {
    auto text = number.unparse();
    if (text.starts_with('-'))
        text.erase(0, 1);
    else if (number.getNumericValue() != 0)
        text.insert(0, "-");
    return number.isInteger() ? QPDFObjectHandle::newInteger(std::stoll(text)) : QPDFObjectHandle::newReal(text);
}

class Joining {
public:
    Joining(QPDF& file, FontTexts& texts, GlyphUse& use, const Outlines& outlines)
        : file_(file), texts_(texts), use_(use) {
        for (const auto& [id, shown] : use.codesOf())
            if (auto font = shown.any() ? understood(file.getObject(id), shown, outlines, texts) : std::nullopt)
                drawn_.emplace(id, std::move(*font));
        // In the order of the pages: what is shown together comes to be together.
        for (const auto& glyph : use.drawn())
            if (const auto font = drawn_.find(glyph.font); font != drawn_.end() && !placeOf_.contains(glyph.font))
                place(font->second);
        // Fonts that do not have a code in common can share a table of what codes mean.
        std::size_t numbered = 0;
        for (auto& joined : joined_) {
            joined.number(numbered);
            numbered += joined.count;
        }
    }

    // Returns why nothing was done; empty if it was.
    std::string run(Contents& contents) {
        std::vector<std::pair<Content*, std::string>> rewritten;
        std::vector<QPDFObjectHandle> fontNames;
        for (auto& content : contents.all()) {
            auto fonts = Resources(content.resources).ofKind("/Font");
            const auto newFonts = newFontsIn(fonts);
            if (newFonts.empty()) continue;
            const auto before = contents.textOf(content);
            auto after = before ? recoded(*before, newFonts) : std::nullopt;
            if (!after) return "content that depends on the codes in another way";
            rewritten.emplace_back(&content, std::move(*after));
            fontNames.push_back(fonts);
        }
        for (auto& [content, text] : rewritten) contents.replace(*content, std::move(text));
        for (auto& joined : joined_) made_.push_back(make(joined));
        for (auto& fonts : fontNames) rename(fonts);
        return {};
    }

    bool isPossible() const { return !joined_.empty(); }

private:
    void place(const DrawnFont& font) {
        if (font.glyphs.size() > freeCodes.size()) return;
        auto at = std::ranges::find_if(joined_, [&](const JoinedFont& joined) { return joined.canTake(font); });
        if (at == joined_.end()) at = joined_.emplace(joined_.end());
        at->take(font);
        placeOf_.emplace(font.dict.getObjGen(), static_cast<std::size_t>(at - joined_.begin()));
    }

    // The joined font goes by the first of its members' names.
    NewFonts newFontsIn(QPDFObjectHandle fonts) const {
        std::map<std::size_t, std::string> names;
        NewFonts newFonts;
        if (!fonts.isDictionary()) return newFonts;
        for (const auto& key : fonts.getKeys()) {
            const auto id = fonts.getKey(key).getObjGen();
            const auto at = placeOf_.find(id);
            if (at == placeOf_.end()) continue;
            const auto name = key.substr(1);
            newFonts.emplace(name,
                             NewFont{&joined_[at->second].codes.at(id), names.emplace(at->second, name).first->second});
        }
        return newFonts;
    }

    void rename(QPDFObjectHandle& fonts) {
        for (const auto& [name, font] : newFontsIn(fonts)) {
            const auto at = placeOf_.at(fonts.getKey("/" + name).getObjGen());
            if (name == font.name)
                fonts.replaceKey("/" + name, made_[at]);
            else
                fonts.removeKey("/" + name);
        }
    }

    QPDFObjectHandle make(const JoinedFont& joined) {
        auto first = joined.members.front()->dict;
        auto font = first.shallowCopy();
        auto matrix = font.getKey("/FontMatrix").shallowCopy(), box = font.getKey("/FontBBox").shallowCopy();
        const bool isTurned = numbersOf<6>(matrix)->at(3) < 0;
        box.setArrayItem(0, wholeNumber(std::floor(joined.box[0])));
        box.setArrayItem(2, wholeNumber(std::ceil(joined.box[2])));
        if (isTurned) {
            matrix.setArrayItem(3, opposite(matrix.getArrayItem(3)));
            for (const int i : {1, 3}) box.setArrayItem(i, opposite(box.getArrayItem(i)));
        }
        font.replaceKey("/FontMatrix", matrix);
        font.replaceKey("/FontBBox", box);

        auto procedures = QPDFObjectHandle::newDictionary(), encoding = font.getKey("/Encoding").shallowCopy();
        auto names = QPDFObjectHandle::newArray(), widths = QPDFObjectHandle::newArray();
        names.appendItem(wholeNumber(0));
        // Viewers guess the size of a drawn font by the width of its "m", six tenths of it. By another glyph they take
        // it for twice as large as it is, and its text for one of another line than what stands beside it.
        names.appendItem(QPDFObjectHandle::newName("/m"));
        widths.appendItem(wholeNumber(std::round(0.6 / numbersOf<6>(matrix)->at(0))));
        ToUnicode meanings;
        int next = 1;
        for (const auto& [code, glyph] : joined.glyphs) {
            if (next != code) names.appendItem(wholeNumber(code));
            for (; next < code; ++next) widths.appendItem(wholeNumber(0));
            const auto name = "/c" + std::to_string(next++);
            names.appendItem(QPDFObjectHandle::newName(name));
            widths.appendItem(glyph->width);
            procedures.replaceKey(name, packed(isTurned ? upsideDown(glyph->outline) : glyph->outline));
            if (!glyph->text.empty()) meanings.texts.emplace(code, glyph->text);
        }
        encoding.replaceKey("/Differences", names);
        font.replaceKey("/Encoding", encoding);
        font.replaceKey("/CharProcs", procedures);
        font.replaceKey("/Widths", widths);
        font.replaceKey("/LastChar", wholeNumber(next - 1));

        auto made = file_.makeIndirectObject(font);
        texts_.replace({made}, std::move(meanings));
        CodeSet shown;
        for (const auto& [code, glyph] : joined.glyphs) shown.set(code);
        for (const auto& [id, codes] : joined.codes) use_.replace(id, made.getObjGen(), shown);
        return made;
    }

    static QPDFObjectHandle wholeNumber(double number) {
        return QPDFObjectHandle::newInteger(static_cast<long long>(number));
    }

    // The filter's name takes more room in every stream than a reference to it.
    QPDFObjectHandle packed(const std::string& outline) {
        if (filter_.isNull()) filter_ = file_.makeIndirectObject(QPDFObjectHandle::newName("/FlateDecode"));
        auto stream = QPDFObjectHandle::newStream(&file_);
        stream.replaceStreamData(zlib::deflate(outline, zlib::Effort::best), filter_, QPDFObjectHandle::newNull());
        return stream;
    }

    QPDF& file_;
    FontTexts& texts_;
    GlyphUse& use_;
    std::map<QPDFObjGen, DrawnFont> drawn_;
    std::vector<JoinedFont> joined_;
    std::map<QPDFObjGen, std::size_t> placeOf_;   // in joined_
    std::vector<QPDFObjectHandle> made_;          // of joined_
    QPDFObjectHandle filter_ = QPDFObjectHandle::newNull();
};

}   // namespace

std::string joinDrawnFonts(QPDF& file, Contents& contents, FontTexts& texts, GlyphUse& use) {
    Outlines outlines;
    for (auto& content : contents.all()) {
        const auto text = content.kind == Content::Kind::glyph ? contents.textOf(content) : nullptr;
        auto outline = text ? shorterOutline(*text) : std::nullopt;
        if (outline) outlines.emplace(content.stream.getObjGen(), std::move(*outline));
    }
    if (outlines.empty()) return {};
    auto whyNot = use.whyIncomplete();
    bool areJoined = false;
    if (use.isComplete()) {
        Joining joining(file, texts, use, outlines);
        if (joining.isPossible()) whyNot = joining.run(contents);
        areJoined = joining.isPossible() && whyNot.empty();
    }
    for (auto& content : contents.all()) {
        const auto outline = outlines.find(content.stream.getObjGen());
        if (outline == outlines.end()) continue;
        if (areJoined)   // in streams of their own
            contents.keepStored(content);
        else
            contents.replace(content, std::move(outline->second), zlib::Effort::best);
    }
    return whyNot;
}

}   // namespace ostrel::pdf
