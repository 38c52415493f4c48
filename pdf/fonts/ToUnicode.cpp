#include "pdf/fonts/ToUnicode.h"

#include "pdf/fonts/TypedText.h"

#include <algorithm>
#include <charconv>
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

std::string hexDigits(unsigned value, std::size_t width) {
    std::string digits(width, '0');
    for (std::size_t i = width; i-- > 0; value >>= 4) digits[i] = "0123456789ABCDEF"[value & 15];
    return digits;
}

// "<41> <0041>": the strings of a line without brackets. Nothing when there is anything else on it.
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
        const auto isHex = [](char c) {
            return std::string_view("0123456789abcdefABCDEF").find(c) != std::string_view::npos;
        };
        if (digits.empty() || !std::ranges::all_of(digits, isHex)) return std::nullopt;
        strings.push_back(digits);
        at = end + 1;
    }
    return strings;
}

bool addRange(ToUnicode& map, std::string_view first, std::string_view last, std::string_view text) {
    const auto from = hexNumber(first), to = hexNumber(last);
    const std::size_t digits = 2 * map.codeBytes;
    if (first.size() != digits || last.size() != digits || !from || !to || *from > *to || text.size() % 4 != 0)
        return false;
    if (*from == *to) {
        map.texts[static_cast<int>(*from)] = text;
        return true;
    }
    const auto start = hexNumber(text);   // only the last byte may count up
    const auto length = *to - *from;
    if (text.size() != 4 || !start || (*start & 0xFF) + length > 0xFF || (*from & 0xFF) + length > 0xFF) return false;
    for (auto code = *from; code <= *to; ++code)
        map.texts[static_cast<int>(code)] = hexDigits(*start + code - *from, 4);
    return true;
}

// "<00> <FF>" or "<0000> <FFFF>"
bool takeCodeSpace(ToUnicode& map, const std::vector<std::string_view>& strings) {
    if (strings.size() != 2 || strings[0].size() != strings[1].size()) return false;
    map.codeBytes = strings[0].size() / 2;
    return (strings[0] == "00" || strings[0] == "0000") && hexNumber(strings[1]).has_value();
}

std::u16string unitsOf(std::string_view hex) {
    std::u16string units;
    for (std::size_t at = 0; at + 4 <= hex.size(); at += 4)
        units += static_cast<char16_t>(hexNumber(hex.substr(at, 4)).value_or(0));
    return units;
}

}   // namespace

std::string hexText(std::u32string_view text) {
    std::string hex;
    const auto unit = [&](char32_t value) {
        for (int shift = 12; shift >= 0; shift -= 4) hex += "0123456789ABCDEF"[value >> shift & 15];
    };
    for (const char32_t c : text) {
        if (c >= 0x10000) unit(0xD800 + ((c - 0x10000) >> 10));
        unit(c < 0x10000 ? c : 0xDC00 + ((c - 0x10000) & 0x3FF));
    }
    return hex;
}

std::optional<ToUnicode> parseToUnicode(std::string_view cmap) {
    enum class Section { none, codeSpace, characters, ranges } section = Section::none;
    ToUnicode map;
    while (!cmap.empty()) {
        const auto line = cmap.substr(0, cmap.find('\n'));
        cmap.remove_prefix(std::min(line.size() + 1, cmap.size()));
        const auto has = [&](std::string_view word) { return line.find(word) != std::string_view::npos; };
        if (has("usecmap")) return std::nullopt;
        if (has("begincodespacerange")) {
            section = Section::codeSpace;
        } else if (has("beginbfchar")) {
            section = Section::characters;
        } else if (has("beginbfrange")) {
            section = Section::ranges;
        } else if (line.substr(0, 3) == "end") {
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
    constexpr std::size_t most = 100;   // in one list
    std::size_t left = map.texts.size(), inList = 0;
    for (const auto& [code, text] : map.texts) {
        if (inList == 0) {
            inList = std::min(left, most);
            left -= inList;
            cmap += std::to_string(inList) + " beginbfchar\n";
        }
        cmap += "<" + hexDigits(static_cast<unsigned>(code), digits) + "> <" + text + ">\n";
        if (--inList == 0) cmap += "endbfchar\n";
    }
    return cmap + "endcmap\nCMapName currentdict /CMap defineresource pop\nend\nend";
}

bool makeTyped(ToUnicode& map) {
    bool isChanged = false;
    for (auto& [code, text] : map.texts) {
        const auto units = unitsOf(text);
        const auto typed = asTyped(units);
        if (typed == units) continue;
        isChanged = true;
        text.clear();
        for (const char16_t unit : typed) text += hexDigits(unit, 4);
    }
    return isChanged;
}

}   // namespace ostrel::pdf
