#include "pdf/fonts/TextMaps.h"

#include "pdf/content/Streams.h"
#include "pdf/fonts/ToUnicode.h"

#include <algorithm>
#include <optional>
#include <set>
#include <vector>

namespace ostrel::pdf {
namespace {

// What the codes shown mean, for several fonts at once; nothing for those without a text.
struct TextTable {
    std::size_t codeBytes = 1;
    CodeTexts shown;
    std::vector<QPDFObjectHandle> fonts;

    bool canTake(const TextTable& other) const {
        return codeBytes == other.codeBytes && std::ranges::all_of(other.shown, [&](const auto& entry) {
                   const auto own = shown.find(entry.first);
                   return own == shown.end() || own->second == entry.second;
               });
    }
    void take(const TextTable& other) {
        shown.insert(other.shown.begin(), other.shown.end());
        fonts.insert(fonts.end(), other.fonts.begin(), other.fonts.end());
    }
};

std::optional<TextTable> tableOf(QPDFObjectHandle font, const CodeSet& shown) {
    auto toUnicode = font.isDictionary() ? font.getKey("/ToUnicode") : font;
    const auto cmap = toUnicode.isStream() ? decoded(toUnicode) : std::nullopt;
    const auto map = cmap ? parseToUnicode(*cmap) : std::nullopt;
    if (!map) return std::nullopt;
    TextTable table{map->codeBytes, {}, {font}};
    for (auto code = shown._Find_first(); code < shown.size(); code = shown._Find_next(code)) {
        const auto text = map->texts.find(static_cast<int>(code));
        table.shown.emplace(code, text == map->texts.end() ? "" : text->second);
    }
    return table;
}

}   // namespace

void makeTextTyped(QPDF& file) {
    std::set<QPDFObjGen> seen;   // fonts share tables
    for (auto& object : file.getAllObjects()) {
        if (!object.isDictionaryOfType("/Font")) continue;
        auto stream = object.getKey("/ToUnicode");
        if (!stream.isStream() || !seen.insert(stream.getObjGen()).second) continue;
        const auto cmap = decoded(stream);
        auto map = cmap ? parseToUnicode(*cmap) : std::nullopt;
        if (map && makeTyped(*map)) replaceDeflated(stream, zlib::deflate(makeToUnicode(*map), zlib::Effort::good));
    }
}

void shareTextTables(QPDF& file, const GlyphUse& use) {
    if (!use.isComplete()) return;
    std::vector<TextTable> tables;
    for (const auto& [id, shown] : use.codesOf()) {
        const auto own = tableOf(file.getObject(id), shown);
        if (!own) continue;
        const auto place = std::ranges::find_if(tables, [&](const TextTable& table) { return table.canTake(*own); });
        if (place == tables.end())
            tables.push_back(*own);
        else
            place->take(*own);
    }
    for (auto& table : tables) {
        if (table.fonts.size() < 2) continue;   // nothing gained
        std::erase_if(table.shown, [](const auto& entry) { return entry.second.empty(); });
        auto toUnicode = QPDFObjectHandle::newStream(&file);
        const auto cmap = makeToUnicode({table.codeBytes, table.shown});
        replaceDeflated(toUnicode, zlib::deflate(cmap, zlib::Effort::good));
        for (auto& font : table.fonts) font.replaceKey("/ToUnicode", toUnicode);
    }
}

}   // namespace ostrel::pdf
