#include "platform/Time.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <mutex>

#include <unicode/timezone.h>
#include <unicode/unistr.h>

namespace ostrel {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::sys_seconds;

struct Calendar::Zone {
    std::unique_ptr<const icu::TimeZone> zone;

    // Local time minus UTC at an instant. The zone's own rules only: a calendar object of the library would be several
    // times slower and would switch to the Julian calendar before 1582.
    seconds offsetAt(sys_seconds when) const {
        int32_t raw = 0, daylight = 0;
        UErrorCode status = U_ZERO_ERROR;
        zone->getOffset(static_cast<double>(when.time_since_epoch().count()) * 1000.0, false, raw, daylight, status);
        return U_SUCCESS(status) ? floor<seconds>(milliseconds(raw + daylight)) : seconds(0);
    }
};

namespace {

// Farther than any zone's clock has ever been from UTC.
constexpr hours widestOffset{18};

std::string format(const char* pattern, const DateComponents& c) {
    char buffer[96];
    const int length = std::snprintf(buffer, sizeof buffer, pattern, c.date.year, c.date.month, c.date.day, c.hour,
                                     c.minute, c.second);
    return std::string(buffer, static_cast<std::size_t>(length));
}

// The civil date of a day number, for every year an Instant can hold: std::chrono::year ends at 32,767.
// Years run from March here, so that the leap day is the last.
Day civilFromDays(std::int64_t dayNumber) {
    constexpr std::int64_t daysPerEra = 146097;   // 400 years
    const std::int64_t z = dayNumber + 719468;    // from 0000-03-01
    const std::int64_t era = (z >= 0 ? z : z - (daysPerEra - 1)) / daysPerEra;
    const std::int64_t dayOfEra = z - era * daysPerEra;
    const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const std::int64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    return {static_cast<int>(yearOfEra + era * 400 + (month <= 2 ? 1 : 0)), static_cast<int>(month),
            static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1)};
}

// The day number of a civil date; a day past the end of its month counts on into the next.
std::int64_t daysFromCivil(const Day& date) {
    const std::int64_t year = std::int64_t{date.year} - (date.month <= 2 ? 1 : 0);
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * (date.month > 2 ? date.month - 3 : date.month + 9) + 2) / 5 + date.day - 1;
    return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

DateComponents componentsOf(std::int64_t localSeconds) {
    const auto local = seconds(localSeconds);
    const auto day = floor<days>(local);
    const auto second = static_cast<int>((local - day).count());
    return {civilFromDays(day.count()), second / 3600, second / 60 % 60, second % 60};
}

}   // namespace

std::optional<Instant> instantFromSeconds(double secondsSince1970) {
    constexpr double limit = 250000.0 * 31556952.0;   // mean Gregorian years
    if (!(std::abs(secondsSince1970) <= limit)) return std::nullopt;
    return Instant(std::chrono::microseconds(std::llround(secondsSince1970 * 1e6)));
}

Calendar::Calendar(std::shared_ptr<const Zone> zone) : zone_(std::move(zone)) {}

Calendar Calendar::current() {
    // The library's search for the host's zone keeps results in static buffers.
    static std::mutex detecting;
    const std::lock_guard lock(detecting);
    return Calendar(
        std::make_shared<const Zone>(Zone{std::unique_ptr<const icu::TimeZone>(icu::TimeZone::detectHostTimeZone())}));
}

Calendar Calendar::utc() {
    static const Calendar calendar = inZone("Etc/UTC");
    return calendar;
}

Calendar Calendar::inZone(const std::string& name) {
    // An unknown name makes the zone Etc/Unknown, which is UTC.
    return Calendar(std::make_shared<const Zone>(
        Zone{std::unique_ptr<const icu::TimeZone>(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)))}));
}

DateComponents Calendar::components(Instant when) const {
    const auto second = floor<seconds>(when);
    return componentsOf((second.time_since_epoch() + zone_->offsetAt(second)).count());
}

Instant Calendar::startOfDay(Day day) const {
    // Instant reaches a little beyond ±290,000 years; a caller's day outside of that is clamped into it.
    constexpr std::int64_t farthestDay = 106'000'000;
    const std::int64_t dayNumber = std::min(std::max(daysFromCivil(day), -farthestDay), farthestDay);
    const sys_seconds midnight{floor<seconds>(days(dayNumber))};   // as if the zone were UTC
    const seconds before = zone_->offsetAt(midnight - widestOffset);
    const seconds after = zone_->offsetAt(midnight + widestOffset);
    for (const seconds offset : {before, after})
        if (zone_->offsetAt(midnight - offset) == offset) return midnight - offset;
    // The clock was moved forward over midnight: find the move.
    sys_seconds still = midnight - widestOffset, moved = midnight + widestOffset;
    while (moved - still > seconds(1)) {
        const sys_seconds middle = still + (moved - still) / 2;
        (zone_->offsetAt(middle) == before ? still : moved) = middle;
    }
    return moved;
}

std::string isoDateTime(Instant when, const Calendar& calendar) {
    return format("%04d-%02d-%02d %02d:%02d:%02d", calendar.components(when));
}

std::string isoUTC(Instant when) {
    return format("%04d-%02d-%02dT%02d:%02d:%02dZ", componentsOf(floor<seconds>(when).time_since_epoch().count()));
}

}   // namespace ostrel
