#include "render/pdf/PdfType3Fonts.h"

#include "render/pdf/PdfStreams.h"
#include "render/pdf/ToUnicode.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace ostrel::pdf {
namespace {

// What codes mean, for several fonts at once.
struct TextTable {
    CodeSet shown;
    CodeTexts texts;
    std::vector<QPDFObjectHandle> fonts;

    bool canTake(const TextTable& other) const {
        for (int code = 0; code < 256; ++code) {
            const auto at = static_cast<std::size_t>(code);
            if (shown.test(at) && other.shown.test(at) && textOf(code) != other.textOf(code)) return false;
        }
        return true;
    }
    void take(const TextTable& other) {
        shown |= other.shown;
        texts.insert(other.texts.begin(), other.texts.end());
        fonts.insert(fonts.end(), other.fonts.begin(), other.fonts.end());
    }

private:
    std::string textOf(int code) const {
        const auto found = texts.find(code);
        return found == texts.end() ? "" : found->second;
    }
};

std::optional<TextTable> textsOf(QPDFObjectHandle font, const CodeSet& shown) {
    auto toUnicode = font.getKey("/ToUnicode");
    const auto cmap = toUnicode.isStream() ? decoded(toUnicode) : std::nullopt;
    auto map = cmap ? parseToUnicode(*cmap) : std::nullopt;
    if (!map || map->codeBytes != 1) return std::nullopt;
    std::erase_if(map->texts, [&](const auto& entry) { return !shown.test(static_cast<std::size_t>(entry.first)); });
    return TextTable{shown, std::move(map->texts), {font}};
}

}   // namespace

void shareTextTables(QPDF& file, const GlyphUse& use) {
    if (!use.isComplete()) return;
    std::vector<TextTable> tables;
    for (const auto& [id, shown] : use.codesOf()) {
        auto font = file.getObject(id);
        if (!font.getKey("/Subtype").isNameAndEquals("/Type3")) continue;
        const auto own = textsOf(font, shown);
        if (!own) continue;
        const auto place = std::ranges::find_if(tables, [&](const TextTable& table) { return table.canTake(*own); });
        if (place == tables.end())
            tables.push_back(*own);
        else
            place->take(*own);
    }
    for (auto& table : tables) {
        if (table.fonts.size() < 2) continue;   // nothing gained
        auto toUnicode = QPDFObjectHandle::newStream(&file);
        replaceDeflated(toUnicode, zlib::deflate(makeToUnicode({1, table.texts}), zlib::Effort::good));
        for (auto& font : table.fonts) font.replaceKey("/ToUnicode", toUnicode);
    }
}

}   // namespace ostrel::pdf
