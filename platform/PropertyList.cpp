#include "platform/PropertyList.h"

namespace ostrel {

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

}   // namespace ostrel
