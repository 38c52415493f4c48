#include "pdf/fonts/GlyphUse.h"

#include "pdf/content/ContentReader.h"
#include "pdf/content/Contents.h"
#include "pdf/content/Resources.h"
#include "pdf/content/StateStack.h"

#include <utility>

namespace ostrel::pdf {
namespace {

// A font as content sees it. By itself: one that could not be told.
struct Font {
    bool isKnown = false;
    CodeSet* codes = nullptr;   // null: its codes do not matter
    std::size_t bytesPerCode = 1;
    QPDFObjGen id{};
};

// Follows the font through one content (ISO 32000-1 §8.4, §9.4).
class Reader {
public:
    Reader(QPDFObjectHandle resources, std::map<QPDFObjGen, CodeSet>& codes, std::vector<GlyphUse::Drawn>& drawn)
        : resources_(resources), codes_(codes), drawn_(drawn) {}

    // Returns why the use cannot be told; empty if it can.
    std::string read(std::string_view content) {
        ContentReader reader(content);
        while (const auto operation = reader.next())
            if (!font_.follow(*operation) && !apply(*operation)) return "text in a font that cannot be told";
        return std::string(reader.problem());
    }

private:
    // Returns false as soon as text may be shown in a font that cannot be told.
    bool apply(const Operation& operation) {
        switch (operation.op) {
            case "Tf"_op:
                *font_ = fontNamed(operation.name());
                return true;
            case "gs"_op:
                setState(operation.name());
                return true;
            case "Tj"_op:
            case "TJ"_op:
            case "'"_op:
            case "\""_op:
                for (const auto& operand : operation.operands)
                    if (operand.kind == Token::Kind::string && !show(operand)) return false;
                return true;
            default:
                return true;
        }
    }

    bool show(const Token& text) {
        if (!font_->isKnown || !font_->codes) return font_->isKnown;
        const auto bytes = text.bytes();
        if (bytes.size() % font_->bytesPerCode != 0) return false;
        for (std::size_t i = 0; i < bytes.size(); i += font_->bytesPerCode) {
            std::size_t code = 0;
            for (std::size_t k = 0; k < font_->bytesPerCode; ++k)
                code = code * 256 + static_cast<unsigned char>(bytes[i + k]);
            font_->codes->set(code);
            if (font_->bytesPerCode == 1) drawn_.push_back({font_->id, static_cast<int>(code)});
        }
        return true;
    }

    void setState(std::string_view name) {
        auto state = resources_.find("/ExtGState", name);
        if (!state.isDictionary() || state.hasKey("/Font")) *font_ = {};
    }

    const Font& fontNamed(std::string_view name) {
        if (const auto found = fonts_.find(name); found != fonts_.end()) return found->second;
        auto dict = resources_.find("/Font", name);
        Font font{dict.isDictionary()};
        if (font.isKnown && dict.isIndirect()) {
            auto kind = dict.getKey("/Subtype");
            const bool isComposite = kind.isNameAndEquals("/Type0");
            if (isComposite || kind.isNameAndEquals("/Type3")) font.codes = &codes_[dict.getObjGen()];
            if (isComposite) font.bytesPerCode = 2;
            font.id = dict.getObjGen();
        }
        return fonts_.emplace(name, font).first->second;
    }

    Resources resources_;
    std::map<QPDFObjGen, CodeSet>& codes_;
    std::vector<GlyphUse::Drawn>& drawn_;
    std::map<std::string, Font, std::less<>> fonts_;
    StateStack<Font> font_;
};

}   // namespace

GlyphUse GlyphUse::unknown(std::string why) {
    GlyphUse use;
    use.problem_ = std::move(why);
    return use;
}

GlyphUse GlyphUse::of(Contents& contents) {
    GlyphUse use;
    for (auto& content : contents.all()) {
        const auto text = contents.textOf(content);
        if (!text) return unknown("content that cannot be unpacked");
        use.read(*text, content.resources);
    }
    return use;
}

void GlyphUse::read(std::string_view content, QPDFObjectHandle resources) {
    if (isComplete()) problem_ = Reader(resources, codes_, drawn_).read(content);
}

void GlyphUse::replace(QPDFObjGen gone, QPDFObjGen font, const CodeSet& codes) {
    codes_.erase(gone);
    codes_[font] |= codes;
}

}   // namespace ostrel::pdf
