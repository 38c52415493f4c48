#include "platform/LocaleFormat.h"
#include "tests/platform/Surroundings.h"

#include <algorithm>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel::locale {
namespace {

const Instant morning{std::chrono::seconds(1709629662)};   // 2024-03-05 09:07:42 UTC

TEST(LocaleFormat, writesDates) {
    const struct {
        const char* locale;
        std::string_view abbreviated, full, numeric;
    } rows[] = {
        {"en_US.UTF-8", "Mar 5, 2024 at 9:07 AM", "Tuesday, March 5, 2024 at 9:07 AM", "03/05/2024 09:07"},
        {"C", "Mar 5, 2024 at 9:07 AM", "Tuesday, March 5, 2024 at 9:07 AM", "03/05/2024 09:07"},
        {"de_DE.UTF-8", "05.03.2024 um 09:07", "Dienstag, 5. März 2024 um 09:07", "05.03.2024 09:07"},
        {"fr_FR@euro", "5 mars 2024 à 09:07", "mardi 5 mars 2024 à 09:07", "05/03/2024 09:07"},
        {"fi_FI.UTF-8", "5.3.2024 klo 9.07", "tiistai 5. maaliskuuta 2024 klo 9.07", "05.03.2024 09.07"},
        {"sr_RS@latin", "5. 3. 2024. 09:07", "utorak, 5. mart 2024. 09:07", "05.03.2024. 09:07"},
    };
    for (const auto& row : rows) {
        const EnvironmentVariable all("LC_ALL", row.locale);
        EXPECT_EQ(dateAndTime(morning, DateStyle::abbreviated, Calendar::utc()), row.abbreviated) << row.locale;
        EXPECT_EQ(dateAndTime(morning, DateStyle::full, Calendar::utc()), row.full) << row.locale;
        EXPECT_EQ(numericDateAndTime(morning, Calendar::utc()), row.numeric) << row.locale;
    }
}

TEST(LocaleFormat, writesDatesInTheCalendarsZone) {
    const EnvironmentVariable all("LC_ALL", "en_US.UTF-8");
    EXPECT_EQ(numericDateAndTime(morning, Calendar::inZone("Pacific/Auckland")), "03/05/2024 22:07") << "24-hour clock";
    EXPECT_EQ(dateAndTime(morning, DateStyle::abbreviated, Calendar::inZone("America/Los_Angeles")),
              "Mar 5, 2024 at 1:07 AM");
    // An hour that the clock shows twice: each time is written as shown, whatever zone the machine is in.
    const EnvironmentVariable zone("TZ", "Europe/Berlin");
    EXPECT_EQ(numericDateAndTime(Instant(std::chrono::seconds(1729990800)), Calendar::current()), "10/27/2024 02:00");
}

TEST(LocaleFormat, categoriesOverrideLANGAndLC_ALLOverridesBoth) {
    const EnvironmentVariable all("LC_ALL", nullptr), time("LC_TIME", "de_DE.UTF-8"), numeric("LC_NUMERIC", nullptr),
        measurement("LC_MEASUREMENT", "en_GB.UTF-8"), lang("LANG", "en_US.UTF-8");
    EXPECT_EQ(numericDateAndTime(morning, Calendar::utc()), "05.03.2024 09:07");
    EXPECT_EQ(wholeNumber(1234567), "1,234,567");
    EXPECT_EQ(measurementSystem(), MeasurementSystem::metric);
    const EnvironmentVariable empty("LC_TIME", "");
    EXPECT_EQ(numericDateAndTime(morning, Calendar::utc()), "03/05/2024 09:07") << "an empty variable is not set";
    const EnvironmentVariable over("LC_ALL", "C.UTF-8");
    EXPECT_EQ(measurementSystem(), MeasurementSystem::us);
}

TEST(LocaleFormat, writesDaysAndReadsThemAsTyped) {
    const struct {
        const char* locale;
        std::string_view named, digits;
    } locales[] = {
        {"en_US.UTF-8", "Mar 5, 2024", "03/05/2024"},
        {"de_DE.UTF-8", "5. M\u00e4rz 2024", "05.03.2024"},
        {"sv_SE.UTF-8", "5 mars 2024", "2024-03-05"},
    };
    const Day day{2024, 3, 5};
    for (const auto& row : locales) {
        const EnvironmentVariable all("LC_ALL", row.locale);
        EXPECT_EQ(date(morning, Calendar::utc()), row.named) << row.locale;
        EXPECT_EQ(numericDate(day), row.digits) << row.locale;
        EXPECT_EQ(dayIn(row.digits), day) << row.locale;
        EXPECT_EQ(dayIn(" 2024-03-05 "), day) << row.locale;
    }
    const struct {
        const char* why;
        std::string_view typed;
        std::optional<Day> day;
    } rows[] = {
        {"fewer digits", "3/5/2024", day},
        {"a short year is of this century", "3/5/24", day},
        {"nothing", "", std::nullopt},
        {"half typed", "03/05/", std::nullopt},
        {"no such day", "02/30/2024", std::nullopt},
        {"a month too many", "13/01/2024", std::nullopt},
        {"something behind it", "03/05/2024x", std::nullopt},
        {"words", "yesterday", std::nullopt},
    };
    const EnvironmentVariable all("LC_ALL", "en_US.UTF-8");
    for (const auto& row : rows) EXPECT_EQ(dayIn(row.typed), row.day) << row.why;
}

TEST(LocaleFormat, writesFileSizes) {
    const struct {
        const char* why;
        std::uint64_t bytes;
        std::string_view english;
    } rows[] = {
        {"nothing", 0, "Zero KB"},
        {"one", 1, "1 byte"},
        {"many", 999, "999 bytes"},
        {"decimal units", 1000, "1 KB"},
        {"kilobytes have no fraction", 12'345, "12 KB"},
        {"just below the next unit", 999'499, "999 KB"},
        {"rounding reaches the next unit", 999'999, "1 MB"},
        {"megabytes have one digit", 1'234'567, "1.2 MB"},
        {"no trailing zero", 2'040'000, "2 MB"},
        {"rounding carries", 999'950'000, "1 GB"},
        {"gigabytes have two", 1'234'567'890, "1.23 GB"},
        {"terabytes", 1'200'000'000'000, "1.2 TB"},
        {"the most that fits", 18'446'744'073'709'551'615u, "18,446.74 PB"},
    };
    const EnvironmentVariable all("LC_ALL", "en_US.UTF-8");
    for (const auto& row : rows) EXPECT_EQ(fileSize(row.bytes), row.english) << row.why;
    const EnvironmentVariable german("LC_ALL", "de_DE.UTF-8");
    EXPECT_EQ(fileSize(1'234'567), "1,2 MB");
    EXPECT_EQ(wholeNumber(-1234567), "-1.234.567");
}

TEST(LocaleFormat, ordersAsAFileManagerDoes) {
    const EnvironmentVariable all("LC_ALL", "en_US.UTF-8");
    std::vector<std::string> expected = {"",          "Archive", "archive 2", "archive 10", "café",
                                         "Cafeteria", "éclair",  "Zoo",       "日本"};
    std::vector<std::string> sorted = expected;
    std::shuffle(sorted.begin(), sorted.end(), std::minstd_rand(7));
    std::ranges::sort(sorted, [](const auto& a, const auto& b) { return compare(a, b) < 0; });
    EXPECT_EQ(sorted, expected);

    EXPECT_EQ(compare("a", "a"), 0);
    EXPECT_NE(compare("a\u0301", "\u00E1"), 0) << "texts that differ have an order, however alike they look";
    EXPECT_EQ(compare("a\u0301", "\u00E1"), -compare("\u00E1", "a\u0301"));
    const EnvironmentVariable swedish("LC_ALL", "sv_SE.UTF-8");
    EXPECT_LT(compare("zebra", "ärta"), 0) << "the locale's letters";
}

}   // namespace
}   // namespace ostrel::locale
