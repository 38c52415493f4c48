#include "platform/PropertyList.h"

#include "platform/BinaryPropertyList.h"
#include "platform/Text.h"

#include <cmath>
#include <cstdlib>
#include <memory>

#include <locale.h>
#include <plist/plist.h>

namespace ostrel {
namespace {

constexpr std::string_view binaryMark = "bplist00";
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

using List = std::unique_ptr<std::remove_pointer_t<plist_t>, decltype([](plist_t list) { plist_free(list); })>;
using CString = std::unique_ptr<char, decltype([](char* string) { std::free(string); })>;

// The thread uses the C locale while this lives: the library reads a real number with atof, for which in some locales
// "1.5" is 1.
class PlainNumbers {
public:
    PlainNumbers() : plain_(::newlocale(LC_NUMERIC_MASK, "C", nullptr)), before_(::uselocale(plain_)) {}
    PlainNumbers(const PlainNumbers&) = delete;
    PlainNumbers& operator=(const PlainNumbers&) = delete;
    ~PlainNumbers() {
        ::uselocale(before_);
        if (plain_ != locale_t{}) ::freelocale(plain_);
    }

private:
    locale_t plain_, before_;
};

// More containers than any honest list has, or definitions of entities. Counted without regard to comments and the
// like, about which another parser may think differently.
bool isHostileXML(std::string_view xml) {
    std::size_t containers = 0;
    for (std::size_t at = xml.find('<'); at != std::string_view::npos; at = xml.find('<', at + 1)) {
        const std::string_view tag = xml.substr(at + 1, 7);
        if (tag == "!ENTITY") return true;
        if (tag.starts_with("dict") || tag.starts_with("array")) ++containers;
    }
    return containers > propertyList::containerLimit;
}

std::optional<PropertyList::Value> scalar(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return value != 0;
        }
        case PLIST_UINT: {
            uint64_t value = 0;
            plist_get_uint_val(node, &value);
            return static_cast<std::int64_t>(value);   // that is how the library keeps a negative number
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return value;
        }
        case PLIST_STRING: {
            char* value = nullptr;
            plist_get_string_val(node, &value);
            const CString owned(value);
            if (value == nullptr) return std::nullopt;
            return text::toValidUTF8(value);
        }
        default:
            return std::nullopt;
    }
}

std::optional<PropertyList> parseXML(std::string_view xml) {
    if (xml.starts_with(byteOrderMark)) xml.remove_prefix(byteOrderMark.size());
    if (isHostileXML(xml)) return std::nullopt;
    const PlainNumbers plain;
    plist_t parsed = nullptr;
    plist_from_xml(xml.data(), static_cast<uint32_t>(xml.size()), &parsed);
    const List list(parsed);
    if (!list || plist_get_node_type(list.get()) != PLIST_DICT) return std::nullopt;

    PropertyList result;
    plist_dict_iter start = nullptr;
    plist_dict_new_iter(list.get(), &start);
    const std::unique_ptr<void, decltype([](void* memory) { std::free(memory); })> iterator(start);
    while (true) {
        char* key = nullptr;
        plist_t node = nullptr;
        plist_dict_next_item(list.get(), iterator.get(), &key, &node);
        const CString ownedKey(key);
        if (node == nullptr) return result;
        if (auto value = scalar(node); value && key != nullptr)
            result.entries.insert_or_assign(text::toValidUTF8(key), std::move(*value));
    }
}

}   // namespace

std::optional<double> PropertyList::number(const std::string& key) const {
    const auto found = entries.find(key);
    if (found == entries.end()) return std::nullopt;
    if (const auto* real = std::get_if<double>(&found->second)) return *real;
    if (const auto* whole = std::get_if<std::int64_t>(&found->second)) return static_cast<double>(*whole);
    return std::nullopt;
}

std::optional<std::int64_t> PropertyList::integer(const std::string& key) const {
    const auto found = entries.find(key);
    if (found == entries.end()) return std::nullopt;
    if (const auto* whole = std::get_if<std::int64_t>(&found->second)) return *whole;
    const auto* real = std::get_if<double>(&found->second);
    constexpr double limit = 9223372036854775808.0;   // 2^63
    if (real == nullptr || !(*real >= -limit && *real < limit)) return std::nullopt;
    return static_cast<std::int64_t>(*real);
}

std::optional<PropertyList> propertyList::parse(ByteView bytes) {
    const std::string_view content = charsOf(bytes);
    if (content.size() > sizeLimitBytes) return std::nullopt;
    return content.starts_with(binaryMark) ? parseBinary(content) : parseXML(content);
}

}   // namespace ostrel
