#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace ostrel {

// An instant in UTC. Microseconds hold every year a mail can name and every file time to the digit that matters.
using Instant = std::chrono::sys_time<std::chrono::microseconds>;

// Returns the instant so many seconds after 1970; nullopt if that is not a number or beyond the years ±250,000.
std::optional<Instant> instantFromSeconds(double secondsSince1970);

struct Day {
    int year = 0;
    int month = 0;   // 1-12
    int day = 0;     // 1-31
    auto operator<=>(const Day&) const = default;
};

struct DateComponents {
    Day date;
    int hour = 0, minute = 0, second = 0;
    bool operator==(const DateComponents&) const = default;
};

// The Gregorian calendar in one time zone. Cheap to copy; safe to use from several threads.
class Calendar {
public:
    // In the user's time zone, as TZ or the system says at the call.
    static Calendar current();
    static Calendar utc();
    // By IANA name ("Europe/Berlin"); an unknown name gives UTC.
    static Calendar inZone(const std::string& name);

    DateComponents components(Instant when) const;
    // Returns the first instant of the day in this zone. Where a change of clocks skips midnight, that is later.
    Instant startOfDay(Day day) const;

private:
    struct Zone;
    explicit Calendar(std::shared_ptr<const Zone> zone);
    std::shared_ptr<const Zone> zone_;
};

// "2024-03-05 09:07:42": sorts as text, the same in every locale.
std::string isoDateTime(Instant when, const Calendar& calendar);
// "2024-03-05T09:07:42Z": whole seconds, rounded down.
std::string isoUTC(Instant when);

}   // namespace ostrel
