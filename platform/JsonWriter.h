#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string_view>
#include <vector>

namespace ostrel {

// Writes one JSON text (RFC 8259) straight to a stream, so that a message with a million recipients needs no second
// copy in memory. Strings are UTF-8 and not escaped beyond what JSON asks for. The caller opens and closes in order.
class JsonWriter {
public:
    explicit JsonWriter(std::ostream& out) : out_(out) {}

    JsonWriter& open(char bracket);    // '{' or '['
    JsonWriter& close(char bracket);   // '}' or ']'
    JsonWriter& key(std::string_view name);
    JsonWriter& text(std::string_view value);
    JsonWriter& number(std::uint64_t value);
    JsonWriter& signedNumber(std::int64_t value);
    JsonWriter& milliseconds(double value);   // with one decimal
    JsonWriter& boolean(bool value);
    JsonWriter& null();

    template <typename T>
    JsonWriter& optionalText(const std::optional<T>& value) {
        return value ? text(*value) : null();
    }

private:
    void separate();

    std::ostream& out_;
    std::vector<bool> hasItems_;   // of each open bracket
    bool afterKey_ = false;
};

}   // namespace ostrel
