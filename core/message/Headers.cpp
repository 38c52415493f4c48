#include "core/message/Headers.h"

#include "core/message/Charset.h"
#include "core/message/EncodedWords.h"
#include "platform/ASCII.h"
#include "platform/Text.h"

#include <algorithm>

namespace ostrel {
namespace {

bool isASCII(char c) { return static_cast<unsigned char>(c) < 128; }

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    if (a.empty() || b.empty()) return a.empty() && b.empty();
    // Most pairs differ in their first letter.
    if (isASCII(a[0]) && isASCII(b[0]) && ascii::lower(a[0]) != ascii::lower(b[0])) return false;
    std::size_t same = 0;
    while (same < std::min(a.size(), b.size()) && ascii::lower(a[same]) == ascii::lower(b[same])) ++same;
    if (same == a.size() || same == b.size()) return a.size() == b.size();
    // Every pair of names that matters ends here, without an allocation.
    if (isASCII(a[same]) && isASCII(b[same])) return false;
    // Lower-casing makes no text more than three times as long or as short.
    if (a.size() > 3 * b.size() || b.size() > 3 * a.size()) return false;
    return text::lower(a) == text::lower(b);
}

// Takes the lines of a header block and puts fields together from them (RFC 5322 section 2.2.3).
class FieldBuilder {
public:
    // Without names every field is taken.
    FieldBuilder(std::optional<std::span<const std::string_view>> names, std::size_t maxFields)
        : names_(names), maxFields_(maxFields) {
        if (names) fields_.reserve(names->size());
    }

    void addLine(std::string_view line) {
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (line.empty()) return;
        if (line.front() == ' ' || line.front() == '\t') {
            addContinuation(line);
        } else {
            finishField();
            startField(line);
        }
    }

    bool isCutShort() const { return isCutShort_; }

    Headers finish() {
        finishField();
        return {std::move(fields_), isCutShort_};
    }

private:
    void startField(std::string_view line) {
        const auto colon = line.find(':');
        if (colon == line.npos) return;
        const auto name = text::trimBlanks(line.substr(0, colon));
        if (name.empty() || name.find(' ') != name.npos || !isWanted(name)) return;
        isCutShort_ = fields_.size() == maxFields_;
        if (isCutShort_) return;
        // The blanks at the end stay for now: they belong to the value if it is continued.
        auto value = line.substr(colon + 1);
        value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
        fields_.push_back({std::string(name), std::string(value)});
        isOpen_ = true;
    }

    bool isWanted(std::string_view name) const {
        if (!names_) return true;
        // Most names are refused by their length, which only other scripts could make misleading.
        const bool isPlain = text::asciiPrefix(name) == name.size();
        return std::ranges::any_of(*names_, [&](std::string_view wanted) {
            return (!isPlain || name.size() == wanted.size()) && equalIgnoringCase(name, wanted);
        });
    }

    void addContinuation(std::string_view line) {
        if (!isOpen_) return;
        auto& value = fields_.back().value;
        value += ' ';
        value += text::trimBlanks(line);
    }

    void finishField() {
        if (!isOpen_) return;
        isOpen_ = false;
        auto& value = fields_.back().value;
        const auto trimmed = text::trimBlanks(value);
        if (trimmed.size() == value.size()) return;
        value = std::string(trimmed);
    }

    std::optional<std::span<const std::string_view>> names_;
    std::size_t maxFields_;
    std::vector<HeaderField> fields_;
    bool isCutShort_ = false;
    bool isOpen_ = false;   // the last field may still be continued
};

Headers parseFields(ByteView headerBytes, FieldBuilder builder) {
    // Nearly every block is the text it decodes to.
    const bool isText = text::isValidUTF8(charsOf(headerBytes));
    const std::string decoded = isText ? std::string() : Charset::decode(headerBytes, "utf-8");
    const std::string_view text = isText ? charsOf(headerBytes) : decoded;
    for (std::size_t start = 0; start < text.size() && !builder.isCutShort();) {
        const auto lineFeed = std::min(text.find('\n', start), text.size());
        auto line = text.substr(start, lineFeed - start);
        // The CR of the break itself; one more, of a doubled CR, is the line's own.
        if (lineFeed < text.size() && line.ends_with('\r')) line.remove_suffix(1);
        builder.addLine(line);
        start = lineFeed + 1;
    }
    return builder.finish();
}

}   // namespace

Headers Headers::parse(ByteView headerBytes, std::size_t maxFields) {
    return parseFields(headerBytes, FieldBuilder(std::nullopt, maxFields));
}

Headers Headers::parseOnly(ByteView headerBytes, std::span<const std::string_view> names) {
    return parseFields(headerBytes, FieldBuilder(names, fieldLimit));
}

std::optional<std::string_view> Headers::first(std::string_view name) const {
    for (const auto& field : fields) {
        if (equalIgnoringCase(field.name, name)) return field.value;
    }
    return std::nullopt;
}

std::optional<std::string> Headers::decoded(std::string_view name) const {
    const auto raw = first(name);
    if (!raw) return std::nullopt;
    return EncodedWords::decode(*raw);
}

HeaderBodySplit splitHeaderAndBody(ByteView bytes) {
    const auto in = charsOf(bytes);
    if (in.starts_with('\n')) return {0, 1};
    if (in.starts_with("\r\n")) return {0, 2};
    for (auto lineFeed = in.find('\n'); lineFeed != in.npos; lineFeed = in.find('\n', lineFeed + 1)) {
        const auto next = in.substr(lineFeed + 1);
        if (next.starts_with('\n')) return {lineFeed, lineFeed + 2};
        if (next.starts_with("\r\n")) return {lineFeed, lineFeed + 3};
    }
    return {in.size(), in.size()};
}

}   // namespace ostrel
