#include "platform/PropertyListReaders.h"
#include "platform/Text.h"

#include <bit>

// The layout, all numbers big-endian:
//   "bplist00" | objects | table of offsets, one for each object | trailer of 32 bytes:
//   6 unused, 1 bytes of an offset, 1 bytes of a reference, 8 object count, 8 number of the top object, 8 start of
//   table
// An object is a marker byte (high half: kind, low half: size or 15 for "an integer object with the size follows") and
// its content.
namespace ostrel::propertyList {
namespace {

using Number = std::optional<std::uint64_t>;

class Reader {
public:
    // Every string entry is copied out; many entries may refer to one long string.
    explicit Reader(std::string_view bytes) : bytes_(bytes), textBudget_(bytes.size()) {}
    std::optional<PropertyList> topLevel();

private:
    struct Object {
        unsigned kind;
        std::uint64_t size;
        std::uint64_t content;   // where it begins
    };

    Number number(std::uint64_t at, std::uint64_t width) const;
    std::optional<Object> object(std::uint64_t index) const;
    std::optional<std::string> text(const Object& object);
    std::optional<PropertyList::Value> scalar(const Object& object);

    std::string_view bytes_;
    std::uint64_t textBudget_;
    std::uint64_t offsetWidth_ = 0, referenceWidth_ = 0, count_ = 0, table_ = 0;
};

Number Reader::number(std::uint64_t at, std::uint64_t width) const {
    if (width == 0 || width > 8 || at > bytes_.size() || width > bytes_.size() - at) return std::nullopt;
    std::uint64_t value = 0;
    for (const char byte : bytes_.substr(at, width)) value = value << 8 | static_cast<unsigned char>(byte);
    return value;
}

std::optional<Reader::Object> Reader::object(std::uint64_t index) const {
    if (index >= count_) return std::nullopt;
    const Number offset = number(table_ + index * offsetWidth_, offsetWidth_);
    const Number marker = offset ? number(*offset, 1) : std::nullopt;
    if (!marker) return std::nullopt;
    Object found{.kind = static_cast<unsigned>(*marker >> 4), .size = *marker & 0xF, .content = *offset + 1};
    const bool hasCount = found.kind >= 0x4;   // the kinds below say their width in the marker
    if (hasCount && found.size == 0xF) {
        const Number sizeMarker = number(found.content, 1);
        if (!sizeMarker || *sizeMarker >> 4 != 1 || (*sizeMarker & 0xF) > 3) return std::nullopt;
        const std::uint64_t width = 1u << (*sizeMarker & 0xF);
        const Number size = number(found.content + 1, width);
        if (!size) return std::nullopt;
        found.size = *size;
        found.content += 1 + width;
    }
    return found;
}

std::optional<std::string> Reader::text(const Object& object) {
    const std::uint64_t unitWidth = object.kind == 0x6 ? 2 : 1;
    if (object.kind != 0x5 && object.kind != 0x6 && object.kind != 0x7) return std::nullopt;
    if (object.size > textBudget_ / unitWidth || object.content > bytes_.size() ||
        object.size * unitWidth > bytes_.size() - object.content)
        return std::nullopt;
    textBudget_ -= object.size * unitWidth;
    if (unitWidth == 1) return text::toValidUTF8(bytes_.substr(object.content, object.size));
    std::string out;
    for (std::uint64_t i = 0; i < object.size; ++i) {
        const auto unit = static_cast<char32_t>(*number(object.content + 2 * i, 2));
        const auto next =
            i + 1 < object.size ? static_cast<char32_t>(*number(object.content + 2 * i + 2, 2)) : char32_t{0};
        const bool isPair = unit >= 0xD800 && unit < 0xDC00 && next >= 0xDC00 && next < 0xE000;
        text::append(out, isPair ? 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00) : unit);
        if (isPair) ++i;
    }
    return out;
}

std::optional<PropertyList::Value> Reader::scalar(const Object& object) {
    const std::uint64_t width = std::uint64_t{1} << object.size;   // of a number
    switch (object.kind) {
        case 0x0:
            if (object.size == 0x8 || object.size == 0x9) return object.size == 0x9;
            return std::nullopt;
        case 0x1: {
            // Up to four bytes are unsigned, eight are signed; of sixteen the lower half is the number.
            const bool isWide = width == 16;
            const Number value = number(isWide ? object.content + 8 : object.content, isWide ? 8 : width);
            if (value) return std::bit_cast<std::int64_t>(*value);
            return std::nullopt;
        }
        case 0x2: {
            const Number value = width >= 4 ? number(object.content, width) : std::nullopt;
            if (!value) return std::nullopt;
            if (width == 4) return double{std::bit_cast<float>(static_cast<std::uint32_t>(*value))};
            return std::bit_cast<double>(*value);
        }
        default:
            if (auto string = text(object)) return std::move(*string);
            return std::nullopt;
    }
}

std::optional<PropertyList> Reader::topLevel() {
    constexpr std::size_t trailerSize = 32;
    if (bytes_.size() < trailerSize) return std::nullopt;
    const std::uint64_t trailer = bytes_.size() - trailerSize;
    offsetWidth_ = *number(trailer + 6, 1);
    referenceWidth_ = *number(trailer + 7, 1);
    count_ = *number(trailer + 8, 8);
    table_ = *number(trailer + 24, 8);
    if (offsetWidth_ == 0 || table_ > trailer || count_ > (trailer - table_) / offsetWidth_) return std::nullopt;
    const auto top = object(*number(trailer + 16, 8));
    if (!top || top->kind != 0xD || top->size > bytes_.size()) return std::nullopt;

    PropertyList list;
    for (std::uint64_t i = 0; i < top->size; ++i) {
        // First all the keys' references, then all the values'.
        const Number keyIndex = number(top->content + i * referenceWidth_, referenceWidth_);
        const Number valueIndex = number(top->content + (top->size + i) * referenceWidth_, referenceWidth_);
        if (!keyIndex || !valueIndex) return std::nullopt;
        const auto key = object(*keyIndex);
        const auto value = object(*valueIndex);
        if (!key || !value) return std::nullopt;
        auto keyText = text(*key);
        if (!keyText) return std::nullopt;
        if (auto content = scalar(*value)) list.entries.insert_or_assign(std::move(*keyText), std::move(*content));
    }
    return list;
}

}   // namespace

std::optional<PropertyList> parseBinary(std::string_view bytes) { return Reader(bytes).topLevel(); }

}   // namespace ostrel::propertyList
