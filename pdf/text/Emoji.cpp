#include "pdf/text/Emoji.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <unicode/uchar.h>
#include <unicode/utf16.h>

namespace ostrel::pdf {
namespace {

bool isRegional(char32_t c) { return c >= 0x1F1E6 && c <= 0x1F1FF; }
bool isSkin(char32_t c) { return c >= 0x1F3FB && c <= 0x1F3FF; }
bool isTag(char32_t c) { return c >= 0xE0020 && c <= 0xE007F; }
bool isPicture(char32_t c) { return u_hasBinaryProperty(static_cast<UChar32>(c), UCHAR_EMOJI_PRESENTATION); }
bool isEmoji(char32_t c) { return u_hasBinaryProperty(static_cast<UChar32>(c), UCHAR_EMOJI); }

constexpr char32_t pictureSelector = 0xFE0F, keycap = 0x20E3, joiner = 0x200D;

// One emoji (UTS #51 §1.4.9) from the beginning of the text; empty when there is none.
std::u32string_view firstEmoji(std::u32string_view text) {
    const auto at = [&](std::size_t i) { return i < text.size() ? text[i] : U' '; };
    if (isRegional(at(0)) && isRegional(at(1))) return text.substr(0, 2);
    std::size_t end = 0;
    do {
        if (end > 0) ++end;   // the joiner
        if (!isEmoji(at(end))) return {};
        ++end;
        if (at(end) == pictureSelector) ++end;
        if (at(end) == keycap || isSkin(at(end))) ++end;
        while (isTag(at(end))) ++end;
    } while (at(end) == joiner);
    return text.substr(0, end);
}

// A character that is always drawn as a picture, or several characters that are.
struct Emoji {
    char32_t character = 0;   // 0: several
    std::u32string text;
};

std::vector<Emoji> emojiOf(std::u32string_view text) {
    std::vector<Emoji> all;
    while (!text.empty()) {
        const auto emoji = firstEmoji(text);
        const bool isSingle = emoji.size() == 1 || (emoji.size() == 2 && emoji[1] == pictureSelector);
        if (isSingle && isPicture(emoji[0]))
            all.push_back({emoji[0], {}});
        else if (!isSingle && !emoji.empty())
            all.push_back({0, std::u32string(emoji)});
        text.remove_prefix(std::max<std::size_t>(emoji.size(), 1));
    }
    return all;
}

// A font of pictures.
struct PictureFont {
    QPDFObjectHandle font;
    const ToUnicode* map;
    std::string prefix;                 // of its family
    std::map<int, std::string> names;   // of the glyphs by code
};

std::optional<PictureFont> pictureFont(QPDFObjectHandle font, FontTexts& texts) {
    auto descriptor = font.getKey("/FontDescriptor"), encoding = font.getKey("/Encoding");
    auto name = descriptor.isDictionary() ? descriptor.getKey("/FontName") : QPDFObjectHandle::newNull();
    if (!name.isName() || name.getName().find("Emoji") == std::string::npos || !encoding.isDictionary()) return {};
    const auto* const map = texts.of(font);
    auto differences = encoding.getKey("/Differences");
    if (!map || map->codeBytes != 1 || !differences.isArray()) return {};
    PictureFont found{font, map, name.getName(), {}};
    int code = 0;
    for (auto& item : differences.getArrayAsVector()) {
        if (item.isInteger())
            code = item.getIntValueAsInt();
        else if (item.isName() && code >= 0 && code <= 255)
            found.names[code++] = item.getName();
    }
    return found;
}

// The one character that this is, if it is one to be read and not a number of the font's own.
std::optional<char32_t> toldCharacter(std::u16string_view text) {
    char32_t c = 0;
    if (text.size() == 1)
        c = text[0];
    else if (text.size() == 2 && U16_IS_LEAD(text[0]) && U16_IS_TRAIL(text[1]))
        c = static_cast<char32_t>(U16_GET_SUPPLEMENTARY(text[0], text[1]));
    const bool isPrivate = c == 0 || (c >= 0xE000 && c <= 0xF8FF) || c >= 0xF0000;
    return isPrivate ? std::nullopt : std::optional(c);
}

class Naming {
public:
    Naming(QPDF& file, FontTexts& texts, const GlyphUse& use) : file_(file), allTexts_(texts), use_(use) {}

    // Returns false if what is drawn is not what is written.
    bool pair(const std::vector<Emoji>& written) {
        std::size_t next = 0;
        for (const auto& drawn : use_.drawn()) {
            auto* const font = fontOf(drawn.font);
            if (!font) continue;
            const auto told = font->map->texts.find(drawn.code);
            const auto character = told == font->map->texts.end() ? std::nullopt : toldCharacter(told->second);
            if (character && !isPicture(*character)) continue;
            if (next == written.size()) return false;
            const auto& emoji = written[next++];
            if (emoji.character != character.value_or(0)) return false;
            if (!character && !agree(font->prefix + font->names[drawn.code], emoji.text)) return false;
            if (!character) texts_[drawn.font][drawn.code] = emoji.text;
        }
        return next == written.size();
    }

    std::size_t differentGlyphs() const { return meanings_.size(); }

    void write() {
        for (const auto& [id, texts] : texts_) {
            auto& font = *fonts_.at(id);
            auto map = *font.map;
            for (const auto& [code, text] : texts) map.texts[code] = utf16(text);
            allTexts_.replace({font.font}, std::move(map));
        }
    }

private:
    PictureFont* fontOf(QPDFObjGen id) {
        const auto place = fonts_.try_emplace(id);
        if (place.second) place.first->second = pictureFont(file_.getObjectByObjGen(id), allTexts_);
        return place.first->second ? &*place.first->second : nullptr;
    }

    // One glyph has one text.
    bool agree(const std::string& glyph, const std::u32string& text) {
        return meanings_.try_emplace(glyph, text).first->second == text;
    }

    QPDF& file_;
    FontTexts& allTexts_;
    const GlyphUse& use_;
    std::map<QPDFObjGen, std::optional<PictureFont>> fonts_;
    std::map<std::string, std::u32string> meanings_;
    std::map<QPDFObjGen, std::map<int, std::u32string>> texts_;
};

}   // namespace

std::string nameEmoji(QPDF& file, FontTexts& texts, const PageText& page, const GlyphUse& use) {
    const auto written = emojiOf(page.text);
    if (std::ranges::none_of(written, [](const Emoji& emoji) { return emoji.character == 0; })) return {};
    if (!use.isComplete()) return use.whyIncomplete();
    Naming naming(file, texts, use);
    if (!naming.pair(written)) return "emoji are not drawn as they are written";
    // From right to left lines are drawn in another order than they are written.
    if (page.goesRightToLeft && naming.differentGlyphs() != 1) return "emoji in text from right to left";
    naming.write();
    return {};
}

}   // namespace ostrel::pdf
