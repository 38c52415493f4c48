#include "core/message/MailDate.h"

#include "core/message/Comments.h"
#include "core/message/Cursor.h"
#include "core/message/EncodedWords.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <string>
#include <utility>

namespace ostrel::MailDate {

namespace {

using std::chrono::hours, std::chrono::minutes, std::chrono::seconds, std::chrono::microseconds;

// No date that anybody writes is longer; what follows is not looked at, so a field of megabytes costs one pass.
constexpr std::size_t longestDate = 200;

constexpr std::array<std::string_view, 12> months = {"january",   "february", "march",    "april",
                                                     "may",       "june",     "july",     "august",
                                                     "september", "october",  "november", "december"};
constexpr std::array<std::string_view, 7> weekdays = {"monday", "tuesday",  "wednesday", "thursday",
                                                      "friday", "saturday", "sunday"};

struct Zone {
    std::string_view name;
    int minutesEast;
};
// obs-zone (RFC 5322 §4.3) and the names that stand for one offset only: IST (India, Ireland, Israel), CST of China,
// BST of Bangladesh and their like are read as RFC 5322 says or, where it says nothing, as unknown.
constexpr auto zones = std::to_array<Zone>({
    {"aedt", 660}, {"aest", 600}, {"akdt", -480}, {"akst", -540}, {"awst", 480}, {"cdt", -300}, {"cest", 120},
    {"cet", 60},   {"cst", -360}, {"edt", -240},  {"eest", 180},  {"eet", 120},  {"est", -300}, {"hkt", 480},
    {"hst", -600}, {"jst", 540},  {"kst", 540},   {"mdt", -360},  {"mest", 120}, {"mesz", 120}, {"met", 60},
    {"mez", 60},   {"msd", 240},  {"msk", 180},   {"mst", -420},  {"nzdt", 780}, {"nzst", 720}, {"pdt", -420},
    {"pst", -480}, {"sast", 120}, {"west", 60},   {"wet", 0},
});
static_assert(std::ranges::is_sorted(zones, {}, &Zone::name));

struct Number {
    int value;
    std::size_t digits;
};

struct Date {
    int year = 0, month = 0, day = 0;
};

// The value on one line: comments and runs of blanks made one blank.
std::string plainText(std::string_view value) {
    const Comments comments(value);
    std::string out;
    for (Cursor in(value); !in.atEnd() && out.size() < longestDate;) {
        if (comments.take(in) || !in.takeWhile(ascii::isGap).empty()) {
            if (!out.empty() && out.back() != ' ') out += ' ';
        } else {
            const auto start = in.position();
            do in.skip();
            while (!in.atEnd() && !ascii::isGap(in.peek()) && in.peek() != '(');
            out += in.since(start).substr(0, longestDate - out.size());
        }
    }
    return out;
}

void skipBlanks(Cursor& in) { in.takeWhile(ascii::isGap); }

bool takeAny(Cursor& in, std::string_view characters) {
    if (in.atEnd() || characters.find(in.peek()) == characters.npos) return false;
    in.skip();
    return true;
}

std::optional<Number> number(Cursor& in, std::size_t minDigits, std::size_t maxDigits) {
    const auto start = in.position();
    const auto digits = in.takeWhile(ascii::isDigit);
    int value = 0;
    if (digits.size() >= minDigits && digits.size() <= maxDigits) {
        std::from_chars(digits.data(), digits.data() + digits.size(), value);
        return Number{value, digits.size()};
    }
    in.rewind(start);
    return std::nullopt;
}

// Letters of any script; empty when there is none.
std::string word(Cursor& in) {
    return text::lowerASCII(
        in.takeWhile([](char c) { return ascii::isLetter(c) || static_cast<unsigned char>(c) > 127; }));
}

// Between the parts of a date: "5 Mar 2024", "5-Mar-2024", "5. March 2024", "Mar 5, 2024".
void skipDateSeparators(Cursor& in) {
    in.takeWhile([](char c) { return c == ' ' || c == '-' || c == '.' || c == ',' || c == '/'; });
}

// month := "Jan" / ... / "Dec"    (RFC 5322 §3.3); longer forms up to the whole name count too
std::optional<int> monthNamed(std::string_view name) {
    if (name.size() < 3) return std::nullopt;
    const auto found = std::ranges::find_if(months, [&](auto whole) { return whole.starts_with(name); });
    if (found == months.end()) return std::nullopt;
    return static_cast<int>(found - months.begin()) + 1;
}
std::optional<int> month(Cursor& in) {
    const auto start = in.position();
    auto found = monthNamed(word(in));
    if (!found) in.rewind(start);
    return found;
}

// year := 4DIGIT / obs-year    (RFC 5322 §3.3, §4.3). Of three digits only those count that programs wrote which had
// 1900 subtracted and did not think of 2000; "200" is the beginning of a year that was cut off.
std::optional<int> year(Cursor& in) {
    const auto start = in.position();
    if (const auto found = number(in, 2, 4)) {
        const auto [value, digits] = *found;
        if (digits == 4) return value;
        if (digits == 3 && value >= 100 && value < 150) return value + 1900;
        const bool isHour = in.peek() == ':';   // of "5 Mar 09:07:42 2024"
        if (digits == 2 && !isHour) return value + (value < 50 ? 2000 : 1900);
    }
    in.rewind(start);
    return std::nullopt;
}

// [ day-of-week "," ]    (RFC 5322 §3.3). It is not checked; in another language it is known by its comma or its dot.
void skipWeekday(Cursor& in) {
    const auto start = in.position();
    in.takeWhile([](char c) { return !ascii::isDigit(c) && c != ','; });
    if (!in.take(',')) {
        in.rewind(start);
        const auto name = word(in);
        const bool isEnglish =
            name.size() >= 2 && std::ranges::any_of(weekdays, [&](auto whole) { return whole.starts_with(name); });
        const bool isAbbreviated = in.take('.') && !name.empty();
        if (monthNamed(name) || (!isEnglish && !isAbbreviated)) in.rewind(start);
    }
    skipDateSeparators(in);
}

// full-date := date-fullyear "-" date-month "-" date-mday    (RFC 3339 §5.6); "2024/03/05" and "20240305" too
std::optional<Date> numericDate(Cursor& in) {
    const auto start = in.position();
    if (const auto whole = number(in, 8, 8))
        return Date{whole->value / 10000, whole->value / 100 % 100, whole->value % 100};
    if (const auto y = number(in, 4, 4)) {
        const char separator = in.peek();
        if (takeAny(in, "-/.")) {
            const auto m = number(in, 1, 2);
            const bool isSeparated = m && in.take(separator);
            if (const auto d = number(in, 1, 2); isSeparated && d) return Date{y->value, m->value, d->value};
        }
    }
    in.rewind(start);
    return std::nullopt;
}

// "17-6-2008", "6/17/2008", "05.03.2024". Which is the day must show: by a dot, which follows days and months, or by a
// number that is no month.
std::optional<Date> dayMonthYearInDigits(Cursor& in) {
    const auto start = in.position();
    if (const auto first = number(in, 1, 2)) {
        const char separator = in.peek();
        if (takeAny(in, "-/.")) {
            const auto second = number(in, 1, 2);
            const bool isSeparated = second && in.take(separator);
            if (const auto y = number(in, 4, 4); isSeparated && y) {
                if (separator == '.' || first->value > 12 || first->value == second->value)
                    return Date{y->value, second->value, first->value};
                if (second->value > 12) return Date{y->value, first->value, second->value};
            }
        }
    }
    in.rewind(start);
    return std::nullopt;
}

// date := day month year    (RFC 5322 §3.3)
std::optional<Date> dayMonthYear(Cursor& in) {
    const auto start = in.position();
    if (const auto d = number(in, 1, 2)) {
        skipDateSeparators(in);
        if (const auto m = month(in)) {
            skipDateSeparators(in);
            if (const auto y = year(in)) return Date{*y, *m, d->value};
        }
    }
    in.rewind(start);
    return std::nullopt;
}

// "2024-Mar-05"
std::optional<Date> yearMonthDay(Cursor& in) {
    const auto start = in.position();
    if (const auto y = number(in, 4, 4)) {
        skipDateSeparators(in);
        if (const auto m = month(in)) {
            skipDateSeparators(in);
            if (const auto d = number(in, 1, 2)) return Date{y->value, *m, d->value};
        }
    }
    in.rewind(start);
    return std::nullopt;
}

// "Mar 5" or "5 Mar", the beginning of "Mar 5, 2024" and of "Mar  5 09:07:42 2024" (asctime, ISO C §7.27.3.1). The year
// is still 0.
std::optional<Date> dayAndMonth(Cursor& in) {
    const auto start = in.position();
    auto d = number(in, 1, 2);
    if (d) skipDateSeparators(in);
    const auto m = month(in);
    if (m && !d) {
        skipDateSeparators(in);
        d = number(in, 1, 2);
    }
    if (m && d) return Date{0, *m, d->value};
    in.rewind(start);
    return std::nullopt;
}

// "am", "PM", "p.m."; true for the afternoon
std::optional<bool> meridiem(Cursor& in) {
    const auto start = in.position();
    skipBlanks(in);
    const char half = in.peek();
    if (takeAny(in, "aApP")) {
        in.take('.');
        if (takeAny(in, "mM") && !ascii::isLetter(in.peek())) {
            in.take('.');
            return half == 'p' || half == 'P';
        }
    }
    in.rewind(start);
    return std::nullopt;
}

std::optional<microseconds> checkedTime(int hour, int minute, int second, microseconds fraction,
                                        std::optional<bool> isAfternoon) {
    if (isAfternoon) {
        if (hour > (*isAfternoon ? 23 : 12)) return std::nullopt;
        if (*isAfternoon && hour < 12)
            hour += 12;
        else if (!*isAfternoon && hour == 12)
            hour = 0;
    }
    // 60 is a leap second (RFC 5322 §3.3); 24:00:00 ends the day in ISO 8601.
    const bool isEndOfDay = hour == 24 && minute == 0 && second == 0 && fraction.count() == 0;
    if ((hour > 23 && !isEndOfDay) || minute > 59 || second > 60) return std::nullopt;
    return hours(hour) + minutes(minute) + seconds(second) + fraction;
}

// ("." / ",") 1*DIGIT    (RFC 3339 §5.6), as far as an instant goes
microseconds fractionOfSecond(Cursor& in) {
    if (in.atEnd() || (in.peek() != '.' && in.peek() != ',') || !ascii::isDigit(in.peek(1))) return {};
    in.skip();
    microseconds fraction{0};
    auto unit = 100'000;
    for (const char digit : in.takeWhile(ascii::isDigit)) {
        fraction += microseconds((digit - '0') * unit);
        unit /= 10;
    }
    return fraction;
}

struct TimeOfDay {
    std::optional<microseconds> sinceMidnight;   // nullopt: numbers that no clock shows
};

// "090742" or "0907", as ISO 8601 writes it after the "T"
std::optional<TimeOfDay> compactTime(Cursor& in) {
    if (const auto six = number(in, 6, 6)) {
        const auto fraction = fractionOfSecond(in);
        return TimeOfDay{checkedTime(six->value / 10000, six->value / 100 % 100, six->value % 100, fraction, {})};
    }
    if (const auto four = number(in, 4, 4))
        return TimeOfDay{checkedTime(four->value / 100, four->value % 100, 0, {}, {})};
    return std::nullopt;
}

// time-of-day := hour ":" minute [ ":" second ]    (RFC 5322 §3.3); with dots, a fraction or "PM" too
std::optional<TimeOfDay> timeOfDay(Cursor& in) {
    const auto start = in.position();
    const auto hour = number(in, 1, 2);
    if (!hour) return std::nullopt;
    const auto blank = in.position();
    skipBlanks(in);   // obsolete: "09 : 07 : 42"
    const char separator = in.peek();
    if (!takeAny(in, ":.")) {
        in.rewind(blank);
        if (const auto half = meridiem(in)) return TimeOfDay{checkedTime(hour->value, 0, 0, {}, half)};   // "9 AM"
        in.rewind(start);
        return std::nullopt;
    }
    skipBlanks(in);
    const auto minute = number(in, 2, 2);
    if (!minute) {
        in.rewind(start);
        return std::nullopt;
    }
    int second = 0;
    microseconds fraction{0};
    const auto afterMinute = in.position();
    skipBlanks(in);
    if (in.take(separator)) {
        skipBlanks(in);
        const bool isCutOff = in.atEnd();
        const auto found = isCutOff ? Number{0, 0} : number(in, 1, 2);
        if (!found) return TimeOfDay{};
        second = found->value;
        fraction = fractionOfSecond(in);
    } else {
        in.rewind(afterMinute);
    }
    const auto half = meridiem(in);
    return TimeOfDay{checkedTime(hour->value, minute->value, second, fraction, half)};
}

// ("+" / "-") 4DIGIT    (RFC 5322 §3.3); "+02:00", "+200" and "+2" too
struct Offset {
    std::optional<minutes> east;   // nullopt: digits that are no offset
};
std::optional<Offset> numericOffset(Cursor& in) {
    if ((in.peek() != '+' && in.peek() != '-') || !ascii::isDigit(in.peek(1))) return std::nullopt;
    const bool isWest = in.peek() == '-';
    in.skip();
    const auto found = number(in, 1, 4);
    if (!found) return Offset{};
    int hour = found->value, minute = 0;
    if (found->digits > 2) {
        minute = hour % 100;
        hour /= 100;
    } else if (in.take(':')) {
        const auto afterColon = number(in, 2, 2);
        if (!afterColon) return Offset{};
        minute = afterColon->value;
    }
    if (minute > 59) return Offset{};
    const minutes east = hours(hour) + minutes(minute);
    return Offset{isWest ? -east : east};
}

// 4DIGIT whose "+" was lost on the way (forms turn it into a blank); nullopt when no place on earth has that offset.
std::optional<Offset> unsignedOffset(Cursor& in) {
    constexpr int maxOffset = 1400;
    const auto start = in.position();
    const auto found = number(in, 4, 4);
    if (found && found->value <= maxOffset && found->value % 100 < 60)
        return Offset{hours(found->value / 100) + minutes(found->value % 100)};
    in.rewind(start);
    return std::nullopt;
}

// zone := offset / obs-zone    (RFC 5322 §3.3, §4.3). A military letter counts as an unknown name, and that as UTC:
// many programs had the sign of the letters wrong. nullopt if there is no zone.
std::optional<Offset> zone(Cursor& in) {
    skipBlanks(in);
    if (const auto offset = numericOffset(in)) return offset;
    const auto name = word(in);
    if (name.empty()) return std::nullopt;
    const auto known = std::ranges::lower_bound(zones, std::string_view(name), {}, &Zone::name);
    if (known != zones.end() && known->name == name) return Offset{minutes(known->minutesEast)};
    const auto start = in.position();
    skipBlanks(in);
    if (const auto offset = numericOffset(in)) return offset;   // "GMT+0200", "UTC +2"
    in.rewind(start);
    return Offset{minutes(0)};
}

// What a value says, before anybody asked whether such a day exists.
struct Reading {
    Date date;
    TimeOfDay time{microseconds(0)};
    Offset zone{minutes(0)};
};

// time-of-day zone    (RFC 5322 §3.3), behind a date. Without a time nothing else may stand there: a time in a form not
// understood must not become midnight.
std::optional<Reading> withTime(Cursor& in, Date date) {
    in.takeWhile([](char c) { return c == ' ' || c == ',' || c == ':'; });
    const auto start = in.position();
    const auto joint = word(in);
    const bool isISO = joint == "t";
    if (isISO || joint == "at")
        skipBlanks(in);
    else
        in.rewind(start);

    Reading reading{date};
    auto time = timeOfDay(in);
    if (!time && isISO) time = compactTime(in);
    auto offset = zone(in);
    if (time && !offset) offset = unsignedOffset(in);
    reading.zone = offset.value_or(Offset{minutes(0)});
    if (time) reading.time = *time;
    skipBlanks(in);
    if (!time && !in.atEnd()) return std::nullopt;
    return reading;
}

// The time and the year in either order behind "Mar 5": "Mar 5, 2024 9:07 AM", "Mar  5 09:07:42 CET 2024".
std::optional<Reading> withYear(Cursor& in, Date date) {
    skipDateSeparators(in);
    const auto time = timeOfDay(in);
    if (!time) {
        const auto found = year(in);
        if (!found) return std::nullopt;
        date.year = *found;
        return withTime(in, date);
    }
    auto offset = zone(in);
    skipBlanks(in);
    const auto found = year(in);
    if (!found) return std::nullopt;
    date.year = *found;
    if (!offset) offset = zone(in);
    return Reading{date, *time, offset.value_or(Offset{minutes(0)})};
}

// date-time := [ day-of-week "," ] date time    (RFC 5322 §3.3). What follows a whole date is passed over.
std::optional<Reading> dateTime(Cursor& in) {
    skipBlanks(in);
    skipWeekday(in);
    if (const auto date = numericDate(in)) return withTime(in, *date);
    if (const auto date = dayMonthYearInDigits(in)) return withTime(in, *date);
    if (const auto date = dayMonthYear(in)) return withTime(in, *date);
    if (const auto date = yearMonthDay(in)) return withTime(in, *date);
    if (const auto date = dayAndMonth(in)) return withYear(in, *date);
    return std::nullopt;
}

std::optional<Instant> instant(const Reading& reading) {
    const auto& [y, m, d] = reading.date;
    const auto day = std::chrono::year(y) / m / d;
    if (y < 1 || !day.ok() || !reading.time.sinceMidnight || !reading.zone.east) return std::nullopt;
    return std::chrono::sys_days(day) + *reading.time.sinceMidnight - *reading.zone.east;
}

}   // namespace

std::optional<Instant> parse(std::string_view value) {
    const auto plain = plainText(EncodedWords::decode(value));
    Cursor in(plain);
    const auto reading = dateTime(in);
    return reading ? instant(*reading) : std::nullopt;
}

}   // namespace ostrel::MailDate
