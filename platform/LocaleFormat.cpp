#include "platform/LocaleFormat.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <memory>

#include <unicode/coll.h>
#include <unicode/dtptngen.h>
#include <unicode/measunit.h>
#include <unicode/numberformatter.h>
#include <unicode/smpdtfmt.h>
#include <unicode/ulocdata.h>

namespace ostrel::locale {
namespace {

// The ICU name of the locale that the environment asks for in a category ("LC_TIME"), as in setlocale(3).
std::string localeName(const char* category) {
    std::string_view name;
    for (const char* variable : {"LC_ALL", category, "LANG"})
        if (const char* value = std::getenv(variable); name.empty() && value != nullptr) name = value;
    // language_REGION.codeset@modifier
    const std::size_t at = name.find('@');
    const std::string_view modifier = at == std::string_view::npos ? std::string_view() : name.substr(at + 1);
    std::string base(name.substr(0, std::min(name.find('.'), at)));
    if (base.empty() || base == "C" || base == "POSIX") return "en_US";
    const std::string_view script = modifier == "latin" ? "_Latn" : modifier == "cyrillic" ? "_Cyrl" : "";
    return base.insert(std::min(base.find('_'), base.size()), script);
}

icu::Locale localeOf(const std::string& name) { return icu::Locale(name.c_str()); }
bool isEnglish(const std::string& name) { return name == "en" || name.starts_with("en_"); }

std::string utf8(const icu::UnicodeString& s) {
    std::string out;
    return s.toUTF8String(out);
}

// Formatters and collators cost far more to make than to use, and are not shared between threads. One cache for each
// kind of maker and thread; the environment changes seldom, so it stays small. Never null.
template <typename Made, typename Make>
const Made* cached(const std::string& key, Make make) {
    thread_local std::map<std::string, std::unique_ptr<Made>> made;
    auto& entry = made[key];
    if (!entry) entry = std::make_unique<Made>(make());
    return entry.get();
}

// ---- Dates ----

using DateFormat = std::unique_ptr<icu::SimpleDateFormat>;

icu::UnicodeString datePattern(icu::DateFormat::EStyle style, const icu::Locale& where) {
    const std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createDateInstance(style, where));
    const auto* simple = dynamic_cast<const icu::SimpleDateFormat*>(format.get());
    icu::UnicodeString pattern;
    return simple != nullptr ? simple->toPattern(pattern) : icu::UnicodeString("y-MM-dd");
}

icu::UnicodeString shortTimePattern(const icu::Locale& where) {
    const std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, where));
    const auto* simple = dynamic_cast<const icu::SimpleDateFormat*>(format.get());
    icu::UnicodeString pattern;
    return simple != nullptr ? simple->toPattern(pattern) : icu::UnicodeString("HH:mm");
}

// The locale's "{1} at {0}" around a date and a time pattern.
icu::UnicodeString joined(const icu::UnicodeString& date, const icu::UnicodeString& time, const icu::Locale& where) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::DateTimePatternGenerator> generator(
        icu::DateTimePatternGenerator::createInstance(where, status));
    icu::UnicodeString glue("{1} {0}");
    if (U_SUCCESS(status)) {
        const icu::UnicodeString& found = generator->getDateTimeFormat(UDAT_LONG, status);
        if (U_SUCCESS(status)) glue = found;
    }
    return glue.findAndReplace("{1}", date).findAndReplace("{0}", time);
}

// The locale's pattern for the fields; an hour of two digits has two digits also where the locale would write one.
icu::UnicodeString bestPattern(const char* skeleton, const char* fallback, const icu::Locale& where) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::DateTimePatternGenerator> generator(
        icu::DateTimePatternGenerator::createInstance(where, status));
    if (U_FAILURE(status)) return fallback;
    icu::UnicodeString pattern = generator->getBestPattern(skeleton, UDATPG_MATCH_HOUR_FIELD_LENGTH, status);
    return U_SUCCESS(status) ? pattern : icu::UnicodeString(fallback);
}

// Formats in UTC: it is given civil time as if it were UTC, so that only Calendar knows about zones.
DateFormat dateFormat(const icu::UnicodeString& pattern, const icu::Locale& where) {
    UErrorCode status = U_ZERO_ERROR;
    auto format = std::make_unique<icu::SimpleDateFormat>(pattern, where, status);
    if (U_FAILURE(status)) return nullptr;
    format->setTimeZone(*icu::TimeZone::getGMT());
    return format;
}

template <typename MakePattern>
std::string formatted(Instant when, const Calendar& calendar, const char* kind, MakePattern makePattern) {
    const std::string name = localeName("LC_TIME");
    const DateFormat& format = *cached<DateFormat>(kind + name, [&] {
        const icu::Locale where = localeOf(name);
        return dateFormat(makePattern(where), where);
    });
    if (!format) return isoDateTime(when, calendar);
    const DateComponents c = calendar.components(when);
    const Instant civil = Calendar::utc().startOfDay(c.date) + std::chrono::hours(c.hour) +
                          std::chrono::minutes(c.minute) + std::chrono::seconds(c.second);
    icu::UnicodeString text;
    format->format(static_cast<double>(civil.time_since_epoch().count()) / 1000.0, text);
    // The locale data set a narrow no-break space before AM and PM. Who searches a PDF for the date types a blank.
    constexpr UChar narrowNoBreakSpace = 0x202F;
    return utf8(text.findAndReplace(icu::UnicodeString(narrowNoBreakSpace), icu::UnicodeString(u' ')));
}

// ---- Numbers ----

using icu::number::LocalizedNumberFormatter;
using icu::number::NumberFormatter;
using icu::number::Precision;

template <typename Formatted>
std::string textOf(const Formatted& result, UErrorCode status) {
    const icu::UnicodeString text = result.toString(status);
    return U_SUCCESS(status) ? utf8(text) : std::string();
}

struct Unit {
    std::string_view english;
    std::uint64_t bytes;
    int digits;   // after the decimal sign, at most
    icu::MeasureUnit (*measure)();
};
const std::array units{
    Unit{"byte", 1, 0, icu::MeasureUnit::getByte},
    Unit{"KB", 1'000, 0, icu::MeasureUnit::getKilobyte},
    Unit{"MB", 1'000'000, 1, icu::MeasureUnit::getMegabyte},
    Unit{"GB", 1'000'000'000, 2, icu::MeasureUnit::getGigabyte},
    Unit{"TB", 1'000'000'000'000, 2, icu::MeasureUnit::getTerabyte},
    Unit{"PB", 1'000'000'000'000'000, 2, icu::MeasureUnit::getPetabyte},
};

// The size in the unit, in steps of its last digit, halves to the even step as number formatters do.
std::uint64_t stepsOf(std::uint64_t bytes, const Unit& unit) {
    std::uint64_t step = unit.bytes;
    for (int i = 0; i < unit.digits; ++i) step /= 10;
    const std::uint64_t whole = bytes / step, rest = bytes % step;
    const bool isUp = rest > step - rest || (rest == step - rest && rest != 0 && whole % 2 == 1);
    return whole + (isUp ? 1 : 0);
}

struct Amount {
    double number;
    const Unit& unit;
};
Amount amountOf(std::uint64_t bytes) {
    for (std::size_t i = 0;; ++i) {
        const Unit& unit = units[i];
        double scale = 1;
        for (int digit = 0; digit < unit.digits; ++digit) scale *= 10;
        const double number = static_cast<double>(stepsOf(bytes, unit)) / scale;
        if (number < 1000 || i + 1 == units.size()) return {number, unit};   // 999,999 bytes round to 1 MB
    }
}

std::string decimal(double number) {
    const std::string name = localeName("LC_NUMERIC");
    const auto& format = *cached<LocalizedNumberFormatter>(
        name, [&] { return NumberFormatter::withLocale(localeOf(name)).precision(Precision::maxFraction(2)); });
    UErrorCode status = U_ZERO_ERROR;
    return textOf(format.formatDouble(number, status), status);
}

// With the unit's word as the locale data have it.
std::string decimalWithUnit(const Amount& amount) {
    const std::string name = localeName("LC_NUMERIC");
    const auto& format = *cached<LocalizedNumberFormatter>(name + ' ' + std::string(amount.unit.english), [&] {
        return NumberFormatter::withLocale(localeOf(name))
            .unit(amount.unit.measure())
            .unitWidth(UNUM_UNIT_WIDTH_SHORT)
            .precision(Precision::maxFraction(2));
    });
    UErrorCode status = U_ZERO_ERROR;
    return textOf(format.formatDouble(amount.number, status), status);
}

// ---- Order ----

// Null where the system has no collation data.
const icu::Collator* collator() {
    using Collator = std::unique_ptr<icu::Collator>;
    const std::string name = localeName("LC_COLLATE");
    const Collator& collator = *cached<Collator>(name, [&]() -> Collator {
        UErrorCode status = U_ZERO_ERROR;
        Collator made(icu::Collator::createInstance(localeOf(name), status));
        if (U_FAILURE(status)) return nullptr;
        made->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
        return made;
    });
    return collator.get();
}

}   // namespace

std::string dateAndTime(Instant when, DateStyle style, const Calendar& calendar) {
    const bool isFull = style == DateStyle::full;
    return formatted(when, calendar, isFull ? "full " : "abbreviated ", [&](const icu::Locale& where) {
        const auto dateStyle = isFull ? icu::DateFormat::kFull : icu::DateFormat::kMedium;
        return joined(datePattern(dateStyle, where), shortTimePattern(where), where);
    });
}

std::string numericDateAndTime(Instant when, const Calendar& calendar) {
    return formatted(when, calendar, "numeric ", [](const icu::Locale& where) {
        return bestPattern("yMMdd", "y-MM-dd", where) + u' ' + bestPattern("HHmm", "HH:mm", where);
    });
}

std::string date(Instant when, const Calendar& calendar) {
    return formatted(when, calendar, "date ",
                     [](const icu::Locale& where) { return bestPattern("yMMMd", "y-MM-dd", where); });
}

std::string numericDate(Day day) {
    const Calendar utc = Calendar::utc();
    return formatted(utc.startOfDay(day), utc, "numeric date ",
                     [](const icu::Locale& where) { return bestPattern("yMMdd", "y-MM-dd", where); });
}

std::optional<Day> dayIn(std::string_view text) {
    const icu::UnicodeString typed =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size()))).trim();
    const icu::Locale where = localeOf(localeName("LC_TIME"));
    for (icu::UnicodeString pattern : {bestPattern("yMMdd", "y-MM-dd", where), icu::UnicodeString("y-MM-dd")}) {
        pattern.findAndReplace("MM", "M").findAndReplace("dd", "d");   // two digits are the least otherwise
        const DateFormat format = dateFormat(pattern, where);
        if (!format) continue;
        format->setLenient(false);   // no 30th of February
        icu::ParsePosition end(0);
        const UDate when = format->parse(typed, end);
        if (end.getErrorIndex() >= 0 || end.getIndex() == 0 || end.getIndex() != typed.length()) continue;
        if (const auto instant = instantFromSeconds(when / 1000)) {
            Day day = Calendar::utc().components(*instant).date;
            if (day.year >= 0 && day.year < 100) day.year += 2000;
            return day;
        }
    }
    return std::nullopt;
}

std::string fileSize(std::uint64_t bytes) {
    const Amount amount = amountOf(bytes);
    if (!isEnglish(localeName("LC_NUMERIC"))) return decimalWithUnit(amount);
    if (bytes == 0) return "Zero KB";
    return decimal(amount.number) + ' ' + std::string(amount.unit.english) +
           (amount.unit.bytes == 1 && bytes != 1 ? "s" : "");
}

std::string wholeNumber(std::int64_t number) {
    const std::string name = localeName("LC_NUMERIC");
    const auto& format = *cached<LocalizedNumberFormatter>(
        name + " whole", [&] { return NumberFormatter::withLocale(localeOf(name)).precision(Precision::integer()); });
    UErrorCode status = U_ZERO_ERROR;
    return textOf(format.formatInt(number, status), status);
}

int compare(std::string_view a, std::string_view b) {
    if (const icu::Collator* order = collator()) {
        UErrorCode status = U_ZERO_ERROR;
        const UCollationResult result =
            order->compareUTF8(icu::StringPiece(a.data(), static_cast<int32_t>(a.size())),
                               icu::StringPiece(b.data(), static_cast<int32_t>(b.size())), status);
        if (U_SUCCESS(status) && result != UCOL_EQUAL) return result == UCOL_LESS ? -1 : 1;
    }
    // Texts that only look alike to the locale still have one order, the same in every run.
    const int byCodePoint = a.compare(b);
    return (byCodePoint > 0) - (byCodePoint < 0);
}

std::string sortKey(std::string_view text) {
    std::string key;
    if (const icu::Collator* order = collator()) {
        const auto wide =
            icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
        const int32_t usual = 4 * wide.length() + 16;
        key.resize(static_cast<std::size_t>(usual));
        const auto fill = [&] {
            return order->getSortKey(wide, reinterpret_cast<std::uint8_t*>(key.data()),
                                     static_cast<int32_t>(key.size()));
        };
        const int32_t needed = fill();   // ends with a zero, the only one
        key.resize(static_cast<std::size_t>(needed));
        if (needed > usual) fill();
    }
    return key.append(text);
}

MeasurementSystem measurementSystem() {
    UErrorCode status = U_ZERO_ERROR;
    const UMeasurementSystem system = ulocdata_getMeasurementSystem(localeName("LC_MEASUREMENT").c_str(), &status);
    return U_SUCCESS(status) && system == UMS_US ? MeasurementSystem::us : MeasurementSystem::metric;
}

}   // namespace ostrel::locale
