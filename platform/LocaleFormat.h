#pragma once

#include "platform/Time.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Numbers, sizes, dates and order as the user's locale writes them (LC_ALL, LC_TIME and so on, LANG). In the C locale:
// American English.
namespace ostrel::locale {

enum class DateStyle { abbreviated, full };   // "Mar 5, 2024" / "Tuesday, March 5, 2024"

// The date and the short time, in the calendar's zone: "Mar 5, 2024 at 9:07 AM".
std::string dateAndTime(Instant when, DateStyle style, const Calendar& calendar);
// Numeric date with the whole year and two-digit month and day in the locale's order, a blank, and the time on the
// 24-hour clock, which needs no AM or PM: "03/05/2024 09:07".
std::string numericDateAndTime(Instant when, const Calendar& calendar);
// The date alone, with the name of the month: "Mar 5, 2024".
std::string date(Instant when, const Calendar& calendar);
// The date alone in digits: "03/05/2024".
std::string numericDate(Day day);
// Parses a day typed in digits, in the order of the locale or as 2024-03-05; a year below 100 is of this century.
// nullopt for any other text.
std::optional<Day> dayIn(std::string_view text);
// A file size in decimal units: "Zero KB", "1 byte", "12 KB", "1.2 MB", "1.23 GB".
std::string fileSize(std::uint64_t bytes);
// A whole number with the locale's grouping.
std::string wholeNumber(std::int64_t number);

// Compares as a file manager does: numbers by value, case folded, the locale's letters. Negative, zero or positive.
int compare(std::string_view a, std::string_view b);
// Returns bytes that compare as compare() does, for texts that are compared often.
std::string sortKey(std::string_view text);

enum class MeasurementSystem { us, metric };
MeasurementSystem measurementSystem();

}   // namespace ostrel::locale
