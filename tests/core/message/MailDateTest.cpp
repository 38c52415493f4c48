#include "core/message/MailDate.h"

#include <array>
#include <chrono>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

// The instant as "2024-03-05T09:07:42Z", or "nothing".
std::string read(const std::string& value) {
    const auto instant = MailDate::parse(value);
    return instant ? isoUTC(*instant) : "nothing";
}

struct Row {
    const char* why;
    const char* value;
    const char* expected;
};

void check(const std::vector<Row>& rows) {
    for (const auto& row : rows) EXPECT_EQ(read(row.value), row.expected) << row.why << ": " << row.value;
}

TEST(MailDateTest, readsTheFormsOfTheStandard) {
    check({
        {"full form", "Tue, 5 Mar 2024 09:07:42 +0100", "2024-03-05T08:07:42Z"},
        {"west of Greenwich, into the next day", "Tue, 05 Mar 2024 21:07:42 -0530", "2024-03-06T02:37:42Z"},
        {"no weekday, no seconds", "5 Mar 2024 09:07 -0000", "2024-03-05T09:07:00Z"},
        {"leap second", "Sat, 31 Dec 2016 23:59:60 +0000", "2017-01-01T00:00:00Z"},
        {"comments anywhere, nested, escaped", "Tue(a(b\\)c)), 5 (x) Mar(y) 2024 09:07:42 +0100 (CET)",
         "2024-03-05T08:07:42Z"},
        {"blanks around colons", "Tue , 5 Mar 2024  09 : 07 : 42 +0100", "2024-03-05T08:07:42Z"},
        {"folded", "Tue,\r\n 5 Mar 2024\r\n\t09:07:42 +0100", "2024-03-05T08:07:42Z"},
        {"two digits: this century", "5 Mar 49 09:07:42 GMT", "2049-03-05T09:07:42Z"},
        {"two digits: the last one", "5 Mar 50 09:07:42 GMT", "1950-03-05T09:07:42Z"},
        {"three digits count from 1900", "5 Mar 102 09:07:42 GMT", "2002-03-05T09:07:42Z"},
        {"zone name", "5 Mar 2024 09:07:42 PDT", "2024-03-05T16:07:42Z"},
        {"military zones have no known sign", "5 Mar 2024 09:07:42 A", "2024-03-05T09:07:42Z"},
        {"Z", "5 Mar 2024 09:07:42 z", "2024-03-05T09:07:42Z"},
        {"29 February of a leap year", "29 Feb 2000 00:00:00 +0000", "2000-02-29T00:00:00Z"},
        {"first and last year", "1 Jan 0001 00:00:00 +0000", "0001-01-01T00:00:00Z"},
        {"last moment", "31 Dec 9999 23:59:59 +0000", "9999-12-31T23:59:59Z"},
    });
}

TEST(MailDateTest, readsWhatClientsSend) {
    check({
        {"whole names, any case", "TUESDAY, 5 march 2024 09:07:42 gmt", "2024-03-05T09:07:42Z"},
        {"four letters", "Thurs, 5 Sept 2024 09:07:42 UT", "2024-09-05T09:07:42Z"},
        {"weekday without comma", "Tue 5 Mar 2024 09:07:42 +0000", "2024-03-05T09:07:42Z"},
        {"a wrong weekday is not checked", "Mon, 5 Mar 2024 09:07:42 +0000", "2024-03-05T09:07:42Z"},
        {"foreign weekday", "Mär, 5 Mar 2024 09:07:42 +0000", "2024-03-05T09:07:42Z"},
        {"foreign weekday that looks like a month", "mar, 5 Apr 2024 09:07:42 +0000", "2024-04-05T09:07:42Z"},
        {"foreign weekday with a dot", "Di. 5 Mar 2024 09:07:42 +0000", "2024-03-05T09:07:42Z"},
        {"no blank after the comma", "Tue,5 Mar 2024 09:07:42 +0000", "2024-03-05T09:07:42Z"},
        {"hyphens", "Tuesday, 05-Mar-24 09:07:42 GMT", "2024-03-05T09:07:42Z"},
        {"dots", "5. Mar. 2024 09.07.42 +0100", "2024-03-05T08:07:42Z"},
        {"GMT and an offset", "5 Mar 2024 09:07:42 GMT+0200", "2024-03-05T07:07:42Z"},
        {"one digit", "5 Mar 2024 09:07:42 UTC +2", "2024-03-05T07:07:42Z"},
        {"colon in the offset", "5 Mar 2024 09:07:42 -03:30", "2024-03-05T12:37:42Z"},
        {"three digits", "5 Mar 2024 09:07:42 +200", "2024-03-05T07:07:42Z"},
        {"attached zone", "5 Mar 2024 09:07:42+0100", "2024-03-05T08:07:42Z"},
        {"European summer", "5 Jul 2024 09:07:42 CEST", "2024-07-05T07:07:42Z"},
        {"a name of several zones is UTC", "5 Mar 2024 09:07:42 IST", "2024-03-05T09:07:42Z"},
        {"no zone", "5 Mar 2024 09:07:42", "2024-03-05T09:07:42Z"},
        {"afternoon", "5 Mar 2024 09:07:42 PM +0000", "2024-03-05T21:07:42Z"},
        {"midnight and noon", "5 Mar 2024 12:07 a.m.", "2024-03-05T00:07:00Z"},
        {"noon", "5 Mar 2024 12:07 pm", "2024-03-05T12:07:00Z"},
        {"asctime", "Tue Mar  5 09:07:42 2024", "2024-03-05T09:07:42Z"},
        {"date(1)", "Tue Mar  5 09:07:42 CET 2024", "2024-03-05T08:07:42Z"},
        {"asctime with an offset", "Tue Mar  5 09:07:42 2024 +0100", "2024-03-05T08:07:42Z"},
        {"asctime, offset first", "Tue Mar  5 09:07:42 +0100 2024", "2024-03-05T08:07:42Z"},
        {"day first, year last", "Tue 5 Mar 09:07:42 2024", "2024-03-05T09:07:42Z"},
        {"American", "Mar 5, 2024 9:07 AM", "2024-03-05T09:07:00Z"},
        {"American, at", "March 5, 2024 at 9:07:42 PM GMT+1", "2024-03-05T20:07:42Z"},
        {"ISO 8601", "2024-03-05T09:07:42Z", "2024-03-05T09:07:42Z"},
        {"ISO 8601 with an offset and a fraction", "2024-03-05T09:07:42.999+05:30", "2024-03-05T03:37:42Z"},
        {"ISO 8601 with a blank", "2024-03-05 09:07:42 +0100", "2024-03-05T08:07:42Z"},
        {"ISO 8601 basic", "20240305T090742Z", "2024-03-05T09:07:42Z"},
        {"end of the day", "2024-03-05T24:00:00Z", "2024-03-06T00:00:00Z"},
        {"an offset without its sign", "Sun, 21 Oct 2012 19:22:28 0200", "2012-10-21T17:22:28Z"},
        {"no offset on earth", "5 Mar 2024 09:07:42 1500", "2024-03-05T09:07:42Z"},
        {"asctime, no offset but a year", "Tue Mar  5 09:07:42 1024", "1024-03-05T09:07:42Z"},
        {"a name of several zones stays open", "5 Mar 2024 09:07:42 BST", "2024-03-05T09:07:42Z"},
        {"cut off in the seconds", "Sun, 26 May 2013 21:02:", "2013-05-26T21:02:00Z"},
        {"day first, for it is no month", "17-6-2008 17:10:08", "2008-06-17T17:10:08Z"},
        {"month first, for the other is none", "6/17/2008 17:10:08", "2008-06-17T17:10:08Z"},
        {"the same either way", "06-06-2008", "2008-06-06T00:00:00Z"},
        {"dots", "5.3.2024, 09:07", "2024-03-05T09:07:00Z"},
        {"date alone", "5 Mar 2024", "2024-03-05T00:00:00Z"},
        {"garbage behind a whole date", "5 Mar 2024 09:07:42 +0000 +0100 17 <b>", "2024-03-05T09:07:42Z"},
        {"comment that never closes", "5 Mar 2024 09:07:42 +0100 (CET", "2024-03-05T08:07:42Z"},
        {"encoded word", "=?us-ascii?Q?Tue,_5_Mar_2024_09:07:42_+0100?=", "2024-03-05T08:07:42Z"},
    });
}

TEST(MailDateTest, givesNothingForWhatNoCalendarOrClockShows) {
    check({
        {"empty", "", "nothing"},
        {"blanks and a comment", "  (5 Mar 2024) ", "nothing"},
        {"31 February", "31 Feb 2024 09:07:42 +0000", "nothing"},
        {"29 February of a common year", "29 Feb 1900 09:07:42 +0000", "nothing"},
        {"day 0", "0 Mar 2024 09:07:42 +0000", "nothing"},
        {"month 13", "2024-13-05T09:07:42Z", "nothing"},
        {"year 0", "5 Mar 0000 09:07:42 +0000", "nothing"},
        {"five digits", "5 Mar 20245 09:07:42 +0000", "nothing"},
        {"one digit of a year", "5 Mar 4 09:07:42 +0000", "nothing"},
        {"hour 25", "5 Mar 2024 25:07:42 +0000", "nothing"},
        {"past the end of the day", "5 Mar 2024 24:00:01 +0000", "nothing"},
        {"minute 60", "5 Mar 2024 09:60:42 +0000", "nothing"},
        {"second 61", "5 Mar 2024 09:07:61 +0000", "nothing"},
        {"13 in the morning", "5 Mar 2024 13:07 AM", "nothing"},
        {"offset of 75 minutes", "5 Mar 2024 09:07:42 +0175", "nothing"},
        {"offset of six digits", "5 Mar 2024 09:07:42 +010000", "nothing"},
        {"a time in a form not understood is not midnight", "5 Mar 2024 half past nine 9", "nothing"},
        {"month in another language", "Di, 5 Mrz 2024 09:07:42 +0100", "nothing"},
        {"day or month first?", "03/05/2024 09:07:42", "nothing"},
        {"neither is a month", "17-13-2008 17:10:08", "nothing"},
        {"cut short", "Tue, 5 Mar", "nothing"},
        {"cut in the year", "Sun, 21 Oct 200", "nothing"},
        {"three digits that no program wrote", "5 Mar 150 09:07:42 +0000", "nothing"},
        {"cut in the minutes", "Tue, 5 Mar 2024 09:", "nothing"},
        {"no seconds, and more", "Tue, 5 Mar 2024 09:07: +0000", "nothing"},
        {"words", "yesterday, at noon", "nothing"},
        {"digits beyond any integer", "99999999999999999999 Mar 2024", "nothing"},
        {"a NUL inside of the number",
         "5 Mar 20\x01"
         "24 09:07:42",
         "nothing"},
    });
}

TEST(MailDateTest, keepsFractionsAsFarAsAnInstantGoes) {
    const auto instant = MailDate::parse("2024-03-05T09:07:42.1234567Z");
    ASSERT_TRUE(instant);
    EXPECT_EQ(instant->time_since_epoch().count() % 1'000'000, 123456);
}

// Whatever way an instant is written in any zone, it is the same instant when read.
TEST(MailDateTest, readsBackEveryFormOfAnInstant) {
    constexpr std::array months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    std::mt19937_64 random(7);
    for (int i = 0; i < 2000; ++i) {
        const Instant instant{std::chrono::seconds(random() % 250'000'000'000 - 60'000'000'000)};
        const int offset = static_cast<int>(random() % (28 * 60)) - 14 * 60;
        const auto local = Calendar::utc().components(instant + std::chrono::minutes(offset));
        const int size = offset < 0 ? -offset : offset;
        const auto print = [&](const char* format, auto... values) {
            std::array<char, 80> text{};
            std::snprintf(text.data(), text.size(), format, values...);
            return std::string(text.data());
        };
        const auto clock = print("%02d:%02d:%02d", local.hour, local.minute, local.second);
        const auto zone = print("%c%02d%02d", offset < 0 ? '-' : '+', size / 60, size % 60);
        const auto month = months[static_cast<std::size_t>(local.date.month - 1)];
        const auto day = local.date.day, year = local.date.year;
        for (const auto& text :
             {print("%d %s %04d %s %s", day, month, year, clock.c_str(), zone.c_str()),
              print("%02d-%s-%04d %s %s", day, month, year, clock.c_str(), zone.c_str()),
              print("%s %2d %s %04d %s", month, day, clock.c_str(), year, zone.c_str()),
              print("%04d-%02d-%02dT%s%s", year, local.date.month, day, clock.c_str(), zone.c_str())}) {
            ASSERT_EQ(read(text), isoUTC(instant)) << text;
        }
    }
}

TEST(MailDateTest, readsFieldsOfMegabytesInOnePass) {
    constexpr std::size_t much = 4'000'000;
    const std::string date = "5 Mar 2024 09:07:42 +0000";
    const std::string expected = "2024-03-05T09:07:42Z";
    EXPECT_EQ(read(std::string(much, ' ') + date), expected);
    EXPECT_EQ(read("(" + std::string(much, '(') + std::string(much, ')') + ")" + date), expected);
    EXPECT_EQ(read(date + " " + std::string(much, '(')), expected);
    EXPECT_EQ(read(std::string(much, '(') + date), "nothing");
    EXPECT_EQ(read(std::string(much, '0') + date), "nothing");
    EXPECT_EQ(read(std::string(much, ',') + date), "nothing");
}

}   // namespace
}   // namespace ostrel
