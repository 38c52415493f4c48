#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>

namespace ostrel {

// The scalar entries of a property list whose top level is a dictionary; nested and binary values are left out.
struct PropertyList {
    using Value = std::variant<std::int64_t, double, std::string, bool>;
    std::map<std::string, Value> entries;

    // Return a number entry, converted where it is of the other kind. nullopt if it is missing or not a number (a
    // boolean is not).
    std::optional<double> number(const std::string& key) const;
    std::optional<std::int64_t> integer(const std::string& key) const;
};

}   // namespace ostrel
