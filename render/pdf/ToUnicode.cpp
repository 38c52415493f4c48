#include "render/pdf/ToUnicode.h"

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

bool addRange(CodeTexts& texts, std::string_view first, std::string_view last, std::string_view text) {
    const auto from = hexNumber(first), to = hexNumber(last);
    if (first.size() != 2 || last.size() != 2 || !from || !to || *from > *to || text.size() % 4 != 0) return false;
    if (*from == *to) {
        texts[static_cast<int>(*from)] = text;
        return true;
    }
    const auto start = hexNumber(text);   // only the last byte may count up
    if (text.size() != 4 || !start || (*start & 0xFF) + (*to - *from) > 0xFF) return false;
    for (auto code = *from; code <= *to; ++code) texts[static_cast<int>(code)] = hexDigits(*start + code - *from, 4);
    return true;
}

}   // namespace

std::optional<CodeTexts> parseToUnicode(std::string_view cmap) {
    enum class Section { none, codeSpace, characters, ranges } section = Section::none;
    CodeTexts texts;
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
            const bool isFine = section == Section::codeSpace    ? s.size() == 2 && s[0] == "00" && s[1].size() == 2
                                : section == Section::characters ? s.size() == 2 && addRange(texts, s[0], s[0], s[1])
                                                                 : s.size() == 3 && addRange(texts, s[0], s[1], s[2]);
            if (!isFine) return std::nullopt;
        }
    }
    return texts;
}

std::string makeToUnicode(const CodeTexts& texts) {
    std::string cmap =
        "/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n"
        "/CIDSystemInfo\n<< /Registry (Adobe)\n/Ordering (UCS)\n/Supplement 0\n>> def\n"
        "/CMapName /Adobe-Identity-UCS def\n/CMapType 2 def\n"
        "1 begincodespacerange\n<00> <FF>\nendcodespacerange\n";
    constexpr std::size_t most = 100;   // in one list
    std::size_t left = texts.size(), inList = 0;
    for (const auto& [code, text] : texts) {
        if (inList == 0) {
            inList = std::min(left, most);
            left -= inList;
            cmap += std::to_string(inList) + " beginbfchar\n";
        }
        cmap += "<" + hexDigits(static_cast<unsigned>(code), 2) + "> <" + text + ">\n";
        if (--inList == 0) cmap += "endbfchar\n";
    }
    return cmap + "endcmap\nCMapName currentdict /CMap defineresource pop\nend\nend";
}

}   // namespace ostrel::pdf
