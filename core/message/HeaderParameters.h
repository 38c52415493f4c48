#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel {

// A structured header value: "text/plain; charset=utf-8" (RFC 2045 section 5.1), with continuations and charset-tagged
// values (RFC 2231) joined and encoded words inside values decoded.
struct HeaderParameters {
    std::string value;                           // the part before the first ";", case kept
    std::map<std::string, std::string> params;   // lower-case name to decoded value
    bool isCutShort = false;                     // there were more than could be kept

    // A parameter takes more than a hundred bytes of memory where three in the file are enough for one. Real values
    // have a few; long names that RFC 2231 divides come in some dozens of pieces.
    static constexpr std::size_t parameterLimit = 250'000;

    // Never fails; an absent value gives an empty record. Reads at most maxParameters pieces behind a ";".
    static HeaderParameters parse(std::optional<std::string_view> headerValue,
                                  std::size_t maxParameters = parameterLimit);

    // Returns a parameter by its name in lower case; nullopt if absent. The view lives as long as this object.
    std::optional<std::string_view> param(const std::string& name) const;

    bool operator==(const HeaderParameters&) const = default;
};

}   // namespace ostrel
