#include "platform/Time.h"
#include "tests/platform/Surroundings.h"

#include <limits>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

Instant at(std::int64_t seconds) { return Instant(std::chrono::seconds(seconds)); }

TEST(Time, writesInstantsInTheirZone) {
    const struct {
        const char* why;
        std::int64_t seconds;
        const char* zone;
        const char* expected;
    } rows[] = {
        {"epoch", 0, "Etc/UTC", "1970-01-01 00:00:00"},
        {"summer time", 1720000000, "Europe/Berlin", "2024-07-03 11:46:40"},
        {"the hour that comes twice, in summer time", 1729989000, "Europe/Berlin", "2024-10-27 02:30:00"},
        {"and in winter time", 1729992600, "Europe/Berlin", "2024-10-27 02:30:00"},
        {"winter time", 1709629662, "America/New_York", "2024-03-05 04:07:42"},
        {"quarter-hour zone", 1709629662, "Asia/Kathmandu", "2024-03-05 14:52:42"},
        {"before the epoch", -1, "Etc/UTC", "1969-12-31 23:59:59"},
        {"leap day", 1709164800, "Etc/UTC", "2024-02-29 00:00:00"},
        {"no leap day in 1900", -2203977600, "Etc/UTC", "1900-02-28 00:00:00"},
        {"no Julian calendar before 1582", -12219292801, "Etc/UTC", "1582-10-14 23:59:59"},
        {"summer time goes on after the zone tables end", 4118016000, "Europe/Berlin", "2100-06-30 07:20:00"},
        {"unknown zone is UTC", 0, "Mars/Olympus", "1970-01-01 00:00:00"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(isoDateTime(at(row.seconds), Calendar::inZone(row.zone)), row.expected) << row.why;
    EXPECT_EQ(isoUTC(Instant(std::chrono::microseconds(-1))), "1969-12-31T23:59:59Z") << "rounded down, not to zero";
}

TEST(Time, findsTheFirstInstantOfADay) {
    const struct {
        const char* why;
        Day day;
        const char* zone;
        const char* utc;
    } rows[] = {
        {"ordinary", {2024, 3, 5}, "Europe/Berlin", "2024-03-04T23:00:00Z"},
        {"the day the clock goes forward at two", {2024, 3, 31}, "Europe/Berlin", "2024-03-30T23:00:00Z"},
        {"the day after", {2024, 4, 1}, "Europe/Berlin", "2024-03-31T22:00:00Z"},
        {"midnight that the clock skips", {2018, 11, 4}, "America/Sao_Paulo", "2018-11-04T03:00:00Z"},
        {"midnight that comes twice", {2017, 10, 29}, "Asia/Beirut", "2017-10-28T22:00:00Z"},
        {"clock back at one past midnight: the first of the two",
         {2010, 11, 7},
         "America/St_Johns",
         "2010-11-07T02:30:00Z"},
        {"a day that never was", {2011, 12, 30}, "Pacific/Apia", "2011-12-30T10:00:00Z"},
        {"the day after that starts at the same instant", {2011, 12, 31}, "Pacific/Apia", "2011-12-30T10:00:00Z"},
        {"a day past the end of its month", {2024, 2, 30}, "Etc/UTC", "2024-03-01T00:00:00Z"},
    };
    for (const auto& row : rows) EXPECT_EQ(isoUTC(Calendar::inZone(row.zone).startOfDay(row.day)), row.utc) << row.why;
}

TEST(Time, daysFollowOneAnotherWithoutHoles) {
    // The instant before a day's start belongs to an earlier day, the start itself to that day.
    const Calendar calendar = Calendar::inZone("America/Sao_Paulo");
    for (int month = 1; month <= 12; ++month)
        for (int day = 1; day <= 28; ++day) {
            const Day date{2018, month, day};
            const Instant start = calendar.startOfDay(date);
            EXPECT_EQ(calendar.components(start).date, date);
            EXPECT_LT(calendar.components(start - std::chrono::microseconds(1)).date, date);
        }
}

TEST(Time, takesSecondsOnlyWhereTheyFit) {
    EXPECT_EQ(instantFromSeconds(1.25), Instant(std::chrono::milliseconds(1250)));
    EXPECT_EQ(instantFromSeconds(-0.000001), Instant(std::chrono::microseconds(-1)));
    for (const double none :
         {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(), 1e13, -1e300})
        EXPECT_EQ(instantFromSeconds(none), std::nullopt) << none;
    for (const double far : {7.8e12, -7.8e12}) {
        const auto instant = instantFromSeconds(far);
        ASSERT_TRUE(instant) << far;
        const Calendar calendar = Calendar::inZone("Europe/Berlin");
        const DateComponents c = calendar.components(*instant);
        EXPECT_LE(calendar.startOfDay(c.date), *instant) << far;
    }
    EXPECT_EQ(Calendar::utc().startOfDay({2'000'000'000, 1, 1}), Calendar::utc().startOfDay({1'999'999'999, 1, 1}))
        << "years beyond the type are clamped, not wrapped";
}

TEST(Time, currentZoneFollowsTheEnvironment) {
    const EnvironmentVariable zone("TZ", "Asia/Tokyo");
    EXPECT_EQ(isoDateTime(at(0), Calendar::current()), "1970-01-01 09:00:00");
}

}   // namespace
}   // namespace ostrel
