#include "core/message/HeaderParameters.h"

#include "core/message/Charset.h"
#include "core/message/EncodedWords.h"
#include "platform/PercentEncoding.h"
#include "platform/Text.h"

#include <algorithm>
#include <vector>

namespace ostrel {
namespace {

// One piece of a parameter whose value RFC 2231 splits (section 3) or tags with a charset (section 4).
struct Section {
    long long number = 0;
    std::string value;
    bool isExtended = false;   // percent-encoded
};

using Sections = std::map<std::string, std::vector<Section>>;   // by the parameter's name without markers

// The first pieces between the ";" that stand outside quoted strings; views into value.
std::vector<std::string_view> splitAtSemicolons(std::string_view value, std::size_t maxSegments) {
    std::vector<std::string_view> segments;
    std::size_t start = 0;
    bool isQuoted = false;
    for (std::size_t at = 0; at < value.size() && segments.size() < maxSegments; ++at) {
        switch (value[at]) {
            case '"':
                isQuoted = !isQuoted;
                break;
            case '\\':
                if (isQuoted) ++at;   // the escaped character has no meaning of its own
                break;
            case ';':
                if (isQuoted) break;
                segments.push_back(value.substr(start, at - start));
                start = at + 1;
                break;
            default:
                break;
        }
    }
    if (segments.size() < maxSegments) segments.push_back(value.substr(start));
    return segments;
}

// A quoted string's content. Only quotes and backslashes were meant to be escaped: a lone backslash comes from clients
// that quote a path without escaping it, and stays.
std::string unquoted(std::string_view s) {
    if (s.size() < 2 || s.front() != '"' || s.back() != '"') return std::string(s);
    s = s.substr(1, s.size() - 2);
    std::string out;
    out.reserve(s.size());
    for (std::size_t at = 0; at < s.size(); ++at) {
        const bool isEscape = s[at] == '\\' && at + 1 < s.size() && (s[at + 1] == '"' || s[at + 1] == '\\');
        if (isEscape) ++at;
        out += s[at];
    }
    return out;
}

std::string joined(std::vector<Section>& sections) {
    std::ranges::stable_sort(sections, {}, &Section::number);
    std::string bytes;
    std::string charset = "utf-8";
    for (const auto& section : sections) {
        std::string_view value = section.value;
        if (!section.isExtended) {
            bytes += value;
            continue;
        }
        if (&section == &sections.front()) {
            // extended-initial-value := [charset] "'" [language] "'" extended-other-values    (RFC 2231 section 7)
            const auto first = value.find('\'');
            const auto second = first == value.npos ? value.npos : value.find('\'', first + 1);
            if (second != value.npos) {
                charset = value.substr(0, first);
                value.remove_prefix(second + 1);
            }
        }
        bytes += percentEncoding::decode(value).bytes;   // RFC 2231 section 7
    }
    return Charset::decode(bytesOf(bytes), charset);
}

// parameter := attribute "=" value, or one section of it    (RFC 2231 section 7)
void addSegment(std::string_view segment, std::map<std::string, std::string>& params, Sections& sections) {
    const auto equals = segment.find('=');
    if (equals == segment.npos) return;
    auto name = text::lower(text::trimBlanks(segment.substr(0, equals)));
    if (name.empty()) return;
    auto value = unquoted(text::trimBlanks(segment.substr(equals + 1)));

    const bool isExtended = name.back() == '*';
    if (isExtended) name.pop_back();
    long long number = 0;
    const auto star = name.find('*');
    if (star != name.npos && text::parseInteger(std::string_view(name).substr(star + 1), number)) {
        name.resize(star);
        sections[std::move(name)].push_back({number, std::move(value), isExtended});
    } else if (isExtended) {
        sections[std::move(name)].push_back({0, std::move(value), true});
    } else {
        params[std::move(name)] = std::move(value);
    }
}

}   // namespace

HeaderParameters HeaderParameters::parse(std::optional<std::string_view> headerValue, std::size_t maxParameters) {
    HeaderParameters result;
    if (!headerValue) return result;
    auto segments = splitAtSemicolons(*headerValue, maxParameters + 2);   // the value, and one too many if there is one
    result.isCutShort = segments.size() > maxParameters + 1;
    if (result.isCutShort) segments.pop_back();
    result.value = text::trimBlanks(segments.front());
    Sections sections;
    for (std::size_t i = 1; i < segments.size(); ++i) addSegment(segments[i], result.params, sections);
    for (auto& [name, pieces] : sections) result.params[name] = joined(pieces);
    for (auto& [name, value] : result.params) {
        if (value.find("=?") != value.npos) value = EncodedWords::decode(value);
    }
    return result;
}

std::optional<std::string_view> HeaderParameters::param(const std::string& name) const {
    const auto found = params.find(name);
    if (found == params.end()) return std::nullopt;
    return found->second;
}

}   // namespace ostrel
