#include "pdf/fonts/GlyphUse.h"

#include "pdf/content/Tokens.h"

#include <algorithm>
#include <string>
#include <vector>

namespace ostrel::pdf {
namespace {

bool isShow(std::string_view op) { return op == "Tj" || op == "TJ" || op == "'" || op == "\""; }

// A font as content sees it. By itself: one that could not be told.
struct Font {
    bool isKnown = false;
    CodeSet* codes = nullptr;   // null: its codes do not matter
    std::size_t bytesPerCode = 1;
    QPDFObjGen id{};
};

// Follows the font through one stream of content (ISO 32000-1 §8.4, §9.4).
class Reader {
public:
    Reader(QPDFObjectHandle resources, std::map<QPDFObjGen, CodeSet>& codes, std::vector<GlyphUse::Drawn>& drawn)
        : resources_(resources), codes_(codes), drawn_(drawn) {}

    // False as soon as text may be shown in a font that cannot be told.
    bool read(std::string_view content) {
        Tokens tokens(content);
        std::vector<Token> strings;   // operands of the operator to come
        std::string_view name;
        while (const auto token = tokens.next()) {
            if (token->kind == Token::Kind::string) strings.push_back(*token);
            if (token->kind == Token::Kind::name) name = token->text;
            if (token->kind != Token::Kind::word || token->isNumber()) continue;
            if (!apply(token->text, name, strings)) return false;
            strings.clear();
        }
        return !tokens.isBroken();
    }

private:
    bool apply(std::string_view op, std::string_view name, const std::vector<Token>& strings) {
        if (op == "Tf") {
            font_ = fontNamed(name);
        } else if (isShow(op)) {
            return std::ranges::all_of(strings, [&](const Token& text) { return show(text); });
        } else if (op == "q") {
            saved_.push_back(font_);
        } else if (op == "Q") {
            font_ = saved_.empty() ? Font{} : saved_.back();
            if (!saved_.empty()) saved_.pop_back();
        } else if (op == "gs") {
            auto state = resource("/ExtGState", name);
            if (!state.isDictionary() || state.hasKey("/Font")) font_ = {};
        }
        return op != "BI";   // an inline image's bytes can look like anything
    }

    bool show(const Token& text) {
        if (!font_.isKnown || !font_.codes) return font_.isKnown;
        const auto bytes = text.bytes();
        if (bytes.size() % font_.bytesPerCode != 0) return false;
        for (std::size_t i = 0; i < bytes.size(); i += font_.bytesPerCode) {
            std::size_t code = 0;
            for (std::size_t k = 0; k < font_.bytesPerCode; ++k)
                code = code * 256 + static_cast<unsigned char>(bytes[i + k]);
            font_.codes->set(code);
            if (font_.bytesPerCode == 1) drawn_.push_back({font_.id, static_cast<int>(code)});
        }
        return true;
    }

    Font fontNamed(std::string_view name) {
        if (const auto found = fonts_.find(name); found != fonts_.end()) return found->second;
        auto dict = resource("/Font", name);
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

    QPDFObjectHandle resource(const char* kind, std::string_view name) {
        auto all = resources_.isDictionary() ? resources_.getKey(kind) : QPDFObjectHandle::newNull();
        return all.isDictionary() ? all.getKey("/" + std::string(name)) : QPDFObjectHandle::newNull();
    }

    QPDFObjectHandle resources_;
    std::map<QPDFObjGen, CodeSet>& codes_;
    std::vector<GlyphUse::Drawn>& drawn_;
    std::map<std::string, Font, std::less<>> fonts_;
    Font font_;
    std::vector<Font> saved_;
};

}   // namespace

void GlyphUse::read(std::string_view content, QPDFObjectHandle resources) {
    if (complete_) complete_ = Reader(resources, codes_, drawn_).read(content);
}

void GlyphUse::replace(QPDFObjGen gone, QPDFObjGen font, const CodeSet& codes) {
    codes_.erase(gone);
    codes_[font] |= codes;
}

}   // namespace ostrel::pdf
