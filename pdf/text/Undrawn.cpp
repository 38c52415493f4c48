#include "pdf/text/Undrawn.h"

#include "pdf/content/ContentReader.h"
#include "pdf/content/Hex.h"
#include "pdf/content/Resources.h"
#include "pdf/content/Rewriter.h"
#include "pdf/content/StateStack.h"
#include "pdf/fonts/GlyphFont.h"
#include "pdf/text/PageText.h"
#include "platform/Text.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include <unicode/uchar.h>
#include <unicode/utf16.h>

namespace ostrel::pdf {
namespace {

using harfBuzz::FontPtr;
using SetPtr = std::unique_ptr<hb_set_t, Releaser<hb_set_destroy>>;

bool isInvisible(char32_t c) {
    return text::isBlankOrNewline(c) || text::isControlOrFormat(c) ||
           u_hasBinaryProperty(static_cast<UChar32>(c), UCHAR_DEFAULT_IGNORABLE_CODE_POINT);
}

// The fonts of a file, by the characters they have.
class FileFonts {
public:
    FileFonts(QPDF& file, FontTexts& texts, const GlyphUse& use) {
        for (auto& object : file.getAllObjects()) {
            if (!object.isDictionaryOfType("/Font") || object.getKey("/Subtype").isNameAndEquals("/CIDFontType2"))
                continue;
            if (auto font = glyphFont(object)) {
                hb_face_collect_unicodes(hb_font_get_face(font.get()), all_.get());
                const auto codes = use.codesOf().find(object.getObjGen());
                if (codes != use.codesOf().end() && codes->second.test(0)) {
                    hb_face_collect_unicodes(hb_font_get_face(font.get()), boxed_.get());
                    withBoxes_.insert(object.getObjGen());
                }
                fonts_.push_back(std::move(font));
            } else if (const auto* const map = texts.of(object)) {
                for (const auto& [code, text] : map->texts) addTold(text);
            }
        }
    }

    bool have(char32_t c) const { return hb_set_has(all_.get(), c) != 0; }
    bool haveWhole(std::u32string_view sequence) const {
        return std::ranges::any_of(fonts_, [&](const auto& font) { return hasWhole(font.get(), sequence); });
    }
    // Of the fonts that show glyph 0.
    const std::set<QPDFObjGen>& withBoxes() const { return withBoxes_; }
    bool withBoxesHave(char32_t c) const { return hb_set_has(boxed_.get(), c) != 0; }

private:
    void addTold(std::u16string_view text) {
        for (std::size_t i = 0; i < text.size();) {
            UChar32 c = 0;
            U16_NEXT(text.data(), i, text.size(), c);
            if (c > 0) hb_set_add(all_.get(), static_cast<hb_codepoint_t>(c));
        }
    }

    // As written or composed. The engine asks for a glyph of selectors of variants, too, which hardly a font has.
    static bool hasWhole(hb_font_t* font, std::u32string_view sequence) {
        const auto hasAll = [&](std::u32string_view text) {
            hb_codepoint_t glyph = 0;
            return std::ranges::all_of(text, [&](char32_t c) { return hb_font_get_nominal_glyph(font, c, &glyph); });
        };
        return hasAll(sequence) || hasAll(composed(sequence));
    }

    std::vector<FontPtr> fonts_;
    SetPtr all_{hb_set_create()}, boxed_{hb_set_create()};
    std::set<QPDFObjGen> withBoxes_;
};

// What of the text is drawn as boxes: what each of them reads.
class Unknown {
public:
    explicit Unknown(const FileFonts& fonts) : fonts_(fonts) {}

    std::vector<std::u32string> in(std::string_view text) {
        std::u32string sequence;
        for (std::size_t at = 0; at < text.size();) {
            const auto [c, length] = text::decodeAt(text, at);
            at += length;
            if (!isCombining(c) || sequence.empty() || sequence.size() == maxSequenceLength) end(sequence);
            sequence += c;
        }
        end(sequence);
        return std::move(boxes_);
    }

private:
    void end(std::u32string& sequence) {
        if (sequence.size() == 1 && !isInvisible(sequence[0]) && !fonts_.have(sequence[0])) boxes_.push_back(sequence);
        if (sequence.size() > 1 && !fonts_.haveWhole(sequence)) addBoxes(sequence);
        sequence.clear();
    }
    // The engine draws it with a font that has a part of it, or nothing.
    void addBoxes(std::u32string_view sequence) {
        bool isAfterBox = false;
        for (const char32_t c : sequence) {
            if (isInvisible(c)) {
                if (isAfterBox) boxes_.back() += c;
                continue;
            }
            isAfterBox = !fonts_.withBoxesHave(c);
            if (isAfterBox) boxes_.push_back(std::u32string(1, c));
        }
    }

    static constexpr std::size_t maxSequenceLength = 64;
    const FileFonts& fonts_;
    std::vector<std::u32string> boxes_;
};

// Goes through contents in the order drawn and puts marks round their boxes.
class Namer {
public:
    Namer(const FileFonts& fonts, std::vector<std::u32string> texts) : fonts_(fonts), texts_(std::move(texts)) {}

    // Returns false if the boxes are not those of the texts, or cannot be told.
    bool read(std::string_view content, QPDFObjectHandle resourcesOfContent) {
        Resources resources(resourcesOfContent);
        StateStack<Font> font;
        marks_ = {};
        ContentReader reader(content);
        while (const auto operation = reader.next()) {
            if (font.follow(*operation)) continue;
            if (operation->op == "Tf"_op) {
                auto set = resources.find("/Font", operation->name());
                font->hasBoxes = set.isIndirect() && fonts_.withBoxes().contains(set.getObjGen());
            }
            if (font->hasBoxes && !show(*operation)) return false;
        }
        return !reader.isBroken();
    }
    // Of the content just read; nullopt if there is nothing to say.
    std::optional<std::string> named(std::string_view content) {
        return marks_.isEmpty() ? std::nullopt : marks_.rewritten(content);
    }
    bool isAtEnd() const { return next_ == texts_.size(); }

private:
    struct Font {
        bool hasBoxes = false;
    };

    bool show(const Operation& operation) {
        if (operation.op == "TJ"_op || operation.op == "'"_op || operation.op == "\""_op) return false;
        if (operation.op != "Tj"_op) return true;
        if (operation.operands.size() != 1 || !operation.operands[0].isHex) return false;
        const auto codes = operation.operands[0].text;
        if (codes.size() % 4 != 0 || std::ranges::any_of(codes, [](char c) { return hex::digit(c) < 0; })) return false;
        const auto isBox = [&](std::size_t i) { return codes.substr(i, 4) == "0000"; };
        for (std::size_t i = 0; i < codes.size(); i += 4) {
            if (!isBox(i)) continue;
            const auto begin = i;
            std::u32string text;
            for (; i < codes.size() && isBox(i); i += 4) {
                if (isAtEnd()) return false;
                text += texts_[next_++];
            }
            mark(operation, begin, i, text);
        }
        return true;
    }

    // begin and end: within the one string that is shown.
    void mark(const Operation& operation, std::size_t begin, std::size_t end, std::u32string_view text) {
        const auto& string = operation.operands[0];
        std::string open = "/Span<</ActualText<FEFF";
        hex::append(open, utf16(text));
        open += ">>>BDC ";
        const auto digits = string.begin + 1;
        if (begin == 0)
            marks_.insert(string.begin, open);
        else
            marks_.insert(digits + begin, "> Tj " + open + "<");
        if (end >= string.text.size())
            marks_.insert(operation.end, " EMC");
        else
            marks_.insert(digits + end, "> Tj EMC <");
    }

    const FileFonts& fonts_;
    const std::vector<std::u32string> texts_;
    std::size_t next_ = 0;
    Rewriter marks_;
};

}   // namespace

std::string nameUndrawn(QPDF& file, Contents& contents, FontTexts& texts, std::string_view pageText,
                        const GlyphUse& use) {
    if (std::ranges::none_of(use.codesOf(), [](const auto& entry) { return entry.second.test(0); })) return {};
    if (!use.isComplete()) return use.whyIncomplete();
    const FileFonts fonts(file, texts, use);
    auto written = Unknown(fonts).in(pageText);
    if (fonts.withBoxes().empty() || written.empty()) return {};
    const bool isOneAndTheSame = std::ranges::all_of(written, [&](const auto& text) { return text == written[0]; });
    // Lines from right to left are drawn in another order than they are written.
    if (!isOneAndTheSame && hasRightToLeft(pageText)) return "boxes in text from right to left";
    Namer namer(fonts, std::move(written));
    std::vector<std::pair<Content*, std::string>> changed;
    for (auto& content : contents.all()) {
        const auto text = contents.textOf(content);
        if (!text || !namer.read(*text, content.resources)) return "boxes are not drawn as they are written";
        if (auto named = namer.named(*text)) changed.emplace_back(&content, std::move(*named));
    }
    if (!namer.isAtEnd()) return "boxes are not drawn as they are written";
    for (auto& [content, text] : changed) contents.replace(*content, std::move(text));
    return {};
}

}   // namespace ostrel::pdf
