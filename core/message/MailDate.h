#pragma once

#include "platform/Time.h"

#include <optional>
#include <string_view>

namespace ostrel::MailDate {

// Reads a Date value (RFC 5322 section 3.3, obsolete forms of section 4.3, and the slips of real clients: missing
// weekday or seconds, comments, zone names, "GMT+2", ISO 8601, asctime order). Nothing when it is not understood.
std::optional<Instant> parse(std::string_view value);

}   // namespace ostrel::MailDate
