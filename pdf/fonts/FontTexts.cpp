#include "pdf/fonts/FontTexts.h"

#include <algorithm>
#include <utility>

namespace ostrel::pdf {
namespace {

// What the codes shown mean, for several fonts at once; an empty text for those that have none.
struct SharedTable {
    ToUnicode map;
    std::vector<QPDFObjectHandle> fonts;

    bool canTake(const SharedTable& other) const {
        return map.codeBytes == other.map.codeBytes && std::ranges::all_of(other.map.texts, [&](const auto& entry) {
                   const auto own = map.texts.find(entry.first);
                   return own == map.texts.end() || own->second == entry.second;
               });
    }
    void take(const SharedTable& other) {
        map.texts.insert(other.map.texts.begin(), other.map.texts.end());
        fonts.insert(fonts.end(), other.fonts.begin(), other.fonts.end());
    }
};

SharedTable shownPart(QPDFObjectHandle font, const ToUnicode& map, const CodeSet& shown) {
    SharedTable table{{map.codeBytes, {}}, {font}};
    for (auto code = shown._Find_first(); code < shown.size(); code = shown._Find_next(code)) {
        const auto text = map.texts.find(static_cast<int>(code));
        table.map.texts.emplace(code, text == map.texts.end() ? std::u16string() : text->second);
    }
    return table;
}

}   // namespace

FontTexts::Table* FontTexts::tableOf(QPDFObjectHandle font) {
    auto stream = font.isDictionary() ? font.getKey("/ToUnicode") : QPDFObjectHandle::newNull();
    if (!stream.isStream()) return nullptr;
    const auto [place, isNew] = tables_.try_emplace(stream.getObjGen());
    if (isNew) {
        const auto cmap = decoded(stream);
        place->second = {stream, cmap ? parseToUnicode(*cmap) : std::nullopt};
    }
    return &place->second;
}

const ToUnicode* FontTexts::of(QPDFObjectHandle font) {
    auto* const table = tableOf(font);
    return table && table->map ? &*table->map : nullptr;
}

void FontTexts::replace(const std::vector<QPDFObjectHandle>& fonts, ToUnicode map) {
    auto stream = QPDFObjectHandle::newStream(&file_);
    tables_[stream.getObjGen()] = {stream, std::move(map), true};
    for (auto font : fonts) font.replaceKey("/ToUnicode", stream);
}

void FontTexts::add(QPDFObjectHandle font, const CodeTexts& more) {
    auto* const table = tableOf(font);
    if (!table || !table->map) return;
    for (const auto& [code, text] : more) {
        auto& own = table->map->texts[code];
        if (isText(own)) continue;
        own = text;
        table->isChanged = true;
    }
}

std::size_t FontTexts::fillIn(const GlyphUse& use) {
    std::size_t filled = 0;
    for (const auto& [id, shown] : use.codesOf()) {
        auto font = file_.getObject(id);
        if (shown.any() && font.isDictionary() && !font.hasKey("/ToUnicode"))
            replace({font}, {font.getKey("/Subtype").isNameAndEquals("/Type0") ? 2u : 1u, {}});
        auto* const table = tableOf(font);
        if (!table || !table->map) continue;
        auto& texts = table->map->texts;
        for (auto code = shown._Find_first(); code < shown.size(); code = shown._Find_next(code)) {
            auto& text = texts[static_cast<int>(code)];
            if (isText(text)) continue;
            text = u"\uFFFD";
            table->isChanged = true;
            ++filled;
        }
        // Of glyphs that are not shown nobody asks for the text.
        if (std::erase_if(texts, [](const auto& entry) { return !isText(entry.second); }) > 0) table->isChanged = true;
    }
    return filled;
}

void FontTexts::makeTyped() {
    for (auto& object : file_.getAllObjects())
        if (object.isDictionaryOfType("/Font")) tableOf(object);
    for (auto& [id, table] : tables_)
        if (table.map && pdf::makeTyped(*table.map)) table.isChanged = true;
}

void FontTexts::share(const GlyphUse& use) {
    if (!use.isComplete()) return;
    std::vector<SharedTable> shared;
    for (const auto& [id, shown] : use.codesOf()) {
        auto font = file_.getObject(id);
        const auto* const map = of(font);
        if (!map) continue;
        auto own = shownPart(font, *map, shown);
        const auto place = std::ranges::find_if(shared, [&](const auto& table) { return table.canTake(own); });
        if (place == shared.end())
            shared.push_back(std::move(own));
        else
            place->take(own);
    }
    for (auto& [map, fonts] : shared) {
        if (fonts.size() < 2) continue;   // nothing gained
        std::erase_if(map.texts, [](const auto& entry) { return entry.second.empty(); });
        replace(fonts, std::move(map));
    }
}

ByteChange FontTexts::store() {
    ByteChange change;
    for (auto& [id, table] : tables_) {
        if (!table.isChanged) continue;
        change.before += storedSize(table.stream);
        auto packed = zlib::deflate(makeToUnicode(*table.map), zlib::Effort::good);
        change.after += packed.size();
        replaceDeflated(table.stream, std::move(packed));
        table.isChanged = false;
    }
    return change;
}

}   // namespace ostrel::pdf
