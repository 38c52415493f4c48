#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Message identifiers (RFC 5322 section 3.6.4).
namespace ostrel::MessageIDs {

// The identifiers of a Message-ID, In-Reply-To or References value, in order, without angle brackets. Comments and
// phrases are passed over; identifiers without brackets are taken when they look like one (they hold an "@").
// Gives the first listLimit.
std::vector<std::string> list(std::string_view value);

// Three characters can become an identifier, which takes twenty times the memory. Conversations have some hundreds.
constexpr std::size_t listLimit = 200'000;

}   // namespace ostrel::MessageIDs
