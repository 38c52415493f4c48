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

    // A number entry, by either of its readings. Nothing when the entry is missing or no number (a boolean is none).
    std::optional<double> number(const std::string& key) const;
    std::optional<std::int64_t> integer(const std::string& key) const;
};

}   // namespace ostrel
