#include "pdf/fonts/ToUnicode.h"

#include "pdf/content/Hex.h"
#include "pdf/fonts/TypedText.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

namespace ostrel::pdf {
namespace {

std::optional<unsigned> hexNumber(std::string_view digits) {
    unsigned value = 0;
    const auto* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, 16);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

// "<41> <0041>": the strings of a line without brackets. nullopt if there is anything else on it.
std::optional<std::vector<std::string_view>> hexStrings(std::string_view line) {
    std::vector<std::string_view> strings;
    for (std::size_t at = 0; at < line.size();) {
        if (line[at] == ' ' || line[at] == '\r') {
            ++at;
            continue;
        }
        const auto end = line.find('>', at);
        if (line[at] != '<' || end == std::string_view::npos) return std::nullopt;
        const auto digits = line.substr(at + 1, end - at - 1);
        const bool isHex = std::ranges::all_of(digits, [](char c) { return hex::digit(c) >= 0; });
        if (digits.empty() || !isHex) return std::nullopt;
        strings.push_back(digits);
        at = end + 1;
    }
    return strings;
}

std::u16string unitsOf(std::string_view hex) {
    std::u16string units;
    for (std::size_t at = 0; at + 4 <= hex.size(); at += 4)
        units += static_cast<char16_t>(hexNumber(hex.substr(at, 4)).value_or(0));
    return units;
}

bool addRange(ToUnicode& map, std::string_view first, std::string_view last, std::string_view text) {
    const auto from = hexNumber(first), to = hexNumber(last);
    const std::size_t digits = 2 * map.codeBytes;
    if (first.size() != digits || last.size() != digits || !from || !to || *from > *to || text.size() % 4 != 0)
        return false;
    auto units = unitsOf(text);
    if (*from == *to) {
        map.texts[static_cast<int>(*from)] = std::move(units);
        return true;
    }
    const auto length = *to - *from;   // only the last byte may count up
    if (units.size() != 1 || (units[0] & 0xFF) + length > 0xFF || (*from & 0xFF) + length > 0xFF) return false;
    for (auto code = *from; code <= *to; ++code, ++units[0]) map.texts[static_cast<int>(code)] = units;
    return true;
}

// "<00> <FF>" or "<0000> <FFFF>"
bool takeCodeSpace(ToUnicode& map, const std::vector<std::string_view>& strings) {
    if (strings.size() != 2 || strings[0].size() != strings[1].size() || !map.texts.empty()) return false;
    map.codeBytes = strings[0].size() / 2;
    return (strings[0] == "00" || strings[0] == "0000") && hexNumber(strings[1]).has_value();
}

}   // namespace

bool isText(std::u16string_view text) {
    return !text.empty() && text.find_first_of(std::u16string_view(u"\0\uFEFF\uFFFE", 3)) == text.npos;
}

std::optional<ToUnicode> parseToUnicode(std::string_view cmap) {
    enum class Section { none, codeSpace, characters, ranges } section = Section::none;
    ToUnicode map;
    while (!cmap.empty()) {
        const auto line = cmap.substr(0, cmap.find('\n'));
        cmap.remove_prefix(std::min(line.size() + 1, cmap.size()));
        const auto has = [&](std::string_view word) { return line.find(word) != std::string_view::npos; };
        // A list that shares a line with its brackets is laid out in a way we do not follow.
        const bool isBracket = has("begincodespacerange") || has("beginbf") || line.starts_with("end");
        if (has("usecmap") || (isBracket && has("<"))) return std::nullopt;
        if (has("begincodespacerange")) {
            section = Section::codeSpace;
        } else if (has("beginbfchar")) {
            section = Section::characters;
        } else if (has("beginbfrange")) {
            section = Section::ranges;
        } else if (isBracket) {
            section = Section::none;
        } else if (section != Section::none) {
            const auto strings = hexStrings(line);
            if (!strings) return std::nullopt;
            const auto& s = *strings;
            const bool isFine = section == Section::codeSpace    ? takeCodeSpace(map, s)
                                : section == Section::characters ? s.size() == 2 && addRange(map, s[0], s[0], s[1])
                                                                 : s.size() == 3 && addRange(map, s[0], s[1], s[2]);
            if (!isFine) return std::nullopt;
        }
    }
    return map;
}

std::string makeToUnicode(const ToUnicode& map) {
    std::string cmap =
        "/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n"
        "/CIDSystemInfo\n<< /Registry (Adobe)\n/Ordering (UCS)\n/Supplement 0\n>> def\n"
        "/CMapName /Adobe-Identity-UCS def\n/CMapType 2 def\n1 begincodespacerange\n";
    const std::size_t digits = 2 * map.codeBytes;
    cmap += "<" + std::string(digits, '0') + "> <" + std::string(digits, 'F') + ">\nendcodespacerange\n";
    constexpr std::size_t listLength = 100;   // the standard's limit
    std::size_t left = map.texts.size(), inList = 0;
    for (const auto& [code, text] : map.texts) {
        if (inList == 0) {
            inList = std::min(left, listLength);
            left -= inList;
            cmap += std::to_string(inList) + " beginbfchar\n";
        }
        cmap += '<';
        hex::append(cmap, static_cast<unsigned>(code), digits);
        cmap += "> <";
        hex::append(cmap, text);
        cmap += ">\n";
        if (--inList == 0) cmap += "endbfchar\n";
    }
    return cmap + "endcmap\nCMapName currentdict /CMap defineresource pop\nend\nend";
}

bool makeTyped(ToUnicode& map) {
    bool isChanged = false;
    for (auto& [code, text] : map.texts) {
        auto typed = asTyped(text);
        if (typed == text) continue;
        isChanged = true;
        text = std::move(typed);
    }
    return isChanged;
}

}   // namespace ostrel::pdf
