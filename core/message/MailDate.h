#pragma once

#include "platform/Time.h"

#include <optional>
#include <string_view>

namespace ostrel::MailDate {

// Parses a Date value: RFC 5322 section 3.3, the obsolete forms of section 4.3, and what real clients write (without
// weekday or seconds, comments, zone names, "GMT+2", ISO 8601, asctime order). nullopt if it is not understood.
std::optional<Instant> parse(std::string_view value);

}   // namespace ostrel::MailDate
