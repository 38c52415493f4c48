#include "platform/PropertyListReaders.h"
#include "platform/Text.h"

#include <algorithm>
#include <charconv>
#include <vector>

// The mail program writes
//   <?xml ...?><!DOCTYPE plist PUBLIC "..." "..."><plist version="1.0"><dict>
//     <key>flags</key><integer>8590195713</integer> ...
//   </dict></plist>
// Read by hand because the list comes from strangers' files: the libraries at hand stop the program at a NUL byte in a
// string, read real numbers by the locale, and unescape in quadratic time.
namespace ostrel::propertyList {
namespace {

constexpr std::string_view spaces = " \t\r\n";

struct Tag {
    enum class Kind { open, close, empty };
    Kind kind;
    std::string_view name;
};

// The character of an entity reference (XML 1.0, sections 4.1 and 4.6), without "&" and ";".
std::optional<char32_t> characterOf(std::string_view entity) {
    constexpr std::pair<std::string_view, char32_t> named[] = {
        {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto& [name, character] : named)
        if (name == entity) return character;
    if (!entity.starts_with('#')) return std::nullopt;
    entity.remove_prefix(1);
    const bool isHex = entity.starts_with('x');
    if (isHex) entity.remove_prefix(1);
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(entity.data(), entity.data() + entity.size(), value, isHex ? 16 : 10);
    if (error != std::errc() || end != entity.data() + entity.size() || value == 0 || value > 0x10FFFF)
        return std::nullopt;
    return value;
}

// Each member takes something off the front of what is left, or fails and leaves the cursor anywhere: a damaged list is
// not read on.
class Cursor {
public:
    explicit Cursor(std::string_view xml) : rest_(xml) {}

    // White space, comments, processing instructions and the document type between elements.
    bool skipBetween();
    std::optional<Tag> tag();
    // Character data up to and with the end tag of the element at hand.
    std::optional<std::string> textUpTo(std::string_view name);
    // What is left of an element of any depth, with its end tag.
    bool skipContent(std::string_view name);

private:
    bool take(std::string_view prefix) {
        if (!rest_.starts_with(prefix)) return false;
        rest_.remove_prefix(prefix.size());
        return true;
    }
    // What stands before the mark; takes both.
    std::optional<std::string_view> takeUpTo(std::string_view mark) {
        const std::size_t at = rest_.find(mark);
        if (at == std::string_view::npos) return std::nullopt;
        const std::string_view before = rest_.substr(0, at);
        rest_.remove_prefix(at + mark.size());
        return before;
    }
    bool takeDocumentType();

    std::string_view rest_;
};

bool Cursor::takeDocumentType() {
    // A definition inside would stand in brackets; its entities are the classic way to make a parser explode.
    const auto declaration = takeUpTo(">");
    return declaration && declaration->find('[') == std::string_view::npos;
}

bool Cursor::skipBetween() {
    while (true) {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(spaces), rest_.size()));
        if (take("<!--")) {
            if (!takeUpTo("-->")) return false;
        } else if (take("<?")) {
            if (!takeUpTo("?>")) return false;
        } else if (take("<!DOCTYPE")) {
            if (!takeDocumentType()) return false;
        } else {
            return true;
        }
    }
}

std::optional<Tag> Cursor::tag() {
    if (!take("<")) return std::nullopt;
    const bool isClose = take("/");
    auto inside = takeUpTo(">");
    if (!inside) return std::nullopt;
    const bool isEmpty = !isClose && inside->ends_with('/');
    if (isEmpty) inside->remove_suffix(1);
    const std::string_view name = inside->substr(0, inside->find_first_of(spaces));
    if (name.empty() || name.find_first_of("<!") != std::string_view::npos) return std::nullopt;
    return Tag{isClose ? Tag::Kind::close : isEmpty ? Tag::Kind::empty : Tag::Kind::open, name};
}

std::optional<std::string> Cursor::textUpTo(std::string_view name) {
    std::string out;
    while (true) {
        const std::size_t plain = std::min(rest_.find_first_of("<&"), rest_.size());
        out += rest_.substr(0, plain);
        rest_.remove_prefix(plain);
        if (take("&")) {
            constexpr std::size_t longestEntity = 10;
            const std::size_t end = rest_.substr(0, longestEntity).find(';');
            const auto character = end == std::string_view::npos ? std::nullopt : characterOf(rest_.substr(0, end));
            if (!character) return std::nullopt;
            text::append(out, *character);
            rest_.remove_prefix(end + 1);
        } else if (take("<!--")) {
            if (!takeUpTo("-->")) return std::nullopt;
        } else if (take("<![CDATA[")) {
            const auto literal = takeUpTo("]]>");
            if (!literal) return std::nullopt;
            out += *literal;
        } else {
            const auto end = tag();
            if (!end || end->kind != Tag::Kind::close || end->name != name) return std::nullopt;
            return out;
        }
    }
}

bool Cursor::skipContent(std::string_view name) {
    std::vector<std::string_view> open{name};
    while (!open.empty()) {
        rest_.remove_prefix(std::min(rest_.find('<'), rest_.size()));
        if (take("<!--")) {
            if (!takeUpTo("-->")) return false;
        } else if (take("<![CDATA[")) {
            if (!takeUpTo("]]>")) return false;
        } else {
            const auto next = tag();
            if (!next) return false;
            if (next->kind == Tag::Kind::open) open.push_back(next->name);
            if (next->kind != Tag::Kind::close) continue;
            if (next->name != open.back()) return false;
            open.pop_back();
        }
    }
    return true;
}

enum class Reading { good, outOfRange, damaged };

template <typename Number, typename... Base>
Reading readNumber(std::string_view digits, Number& value, Base... base) {
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base...);
    if (digits.empty() || end != digits.data() + digits.size() || error == std::errc::invalid_argument)
        return Reading::damaged;
    return error == std::errc() ? Reading::good : Reading::outOfRange;
}

// Returns the value of a scalar element from its text; nullopt if the result leaves such an element out.
Reading readScalar(std::string_view name, std::string content, std::optional<PropertyList::Value>& value) {
    if (name == "string") {
        value = std::move(content);
        return Reading::good;
    }
    std::string_view digits = text::trimASCII(content, spaces);
    if (digits.starts_with('+')) digits.remove_prefix(1);
    if (name == "integer") {
        std::int64_t number = 0;
        const bool isHex = digits.starts_with("0x") || digits.starts_with("0X");
        const Reading reading = readNumber(digits.substr(isHex ? 2 : 0), number, isHex ? 16 : 10);
        if (reading == Reading::good) value = number;
        return reading;
    }
    double number = 0;
    const Reading reading = readNumber(digits, number);
    if (reading == Reading::good) value = number;
    return reading;
}

// Reads the value element that the tag opens. False when the list is damaged.
bool readValue(Cursor& in, const Tag& tag, std::optional<PropertyList::Value>& value) {
    if (tag.kind == Tag::Kind::close) return false;
    const bool isEmpty = tag.kind == Tag::Kind::empty;
    if (tag.name == "true" || tag.name == "false") {
        value = tag.name == "true";
        return isEmpty || in.skipContent(tag.name);
    }
    if (tag.name != "string" && tag.name != "integer" && tag.name != "real") return isEmpty || in.skipContent(tag.name);
    auto content = isEmpty ? std::string() : in.textUpTo(tag.name);
    return content && readScalar(tag.name, std::move(*content), value) != Reading::damaged;
}

}   // namespace

std::optional<PropertyList> parseXML(std::string_view xml) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    const std::string valid = text::toValidUTF8(xml.starts_with(byteOrderMark) ? xml.substr(3) : xml);
    Cursor in(valid);
    const auto nextTag = [&] { return in.skipBetween() ? in.tag() : std::nullopt; };
    auto tag = nextTag();
    if (tag && tag->kind == Tag::Kind::open && tag->name == "plist") tag = nextTag();
    if (!tag || tag->name != "dict" || tag->kind == Tag::Kind::close) return std::nullopt;
    PropertyList list;
    if (tag->kind == Tag::Kind::empty) return list;
    while (true) {
        tag = nextTag();
        if (tag && tag->kind == Tag::Kind::close && tag->name == "dict") return list;
        if (!tag || tag->kind != Tag::Kind::open || tag->name != "key") return std::nullopt;
        auto key = in.textUpTo("key");
        tag = key ? nextTag() : std::nullopt;
        std::optional<PropertyList::Value> value;
        if (!tag || !readValue(in, *tag, value)) return std::nullopt;
        if (value) list.entries.insert_or_assign(std::move(*key), std::move(*value));
    }
}

}   // namespace ostrel::propertyList
