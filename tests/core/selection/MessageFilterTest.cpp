#include "core/selection/MessageFilter.h"
#include "platform/Text.h"
#include "tests/core/selection/SummaryBuilder.h"

#include <chrono>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using Mails = std::vector<MessageSummary>;
using namespace std::chrono_literals;

Instant utc(int year, int month, int day, std::chrono::seconds time = 0s) {
    return std::chrono::sys_days(std::chrono::year(year) / month / day) + time;
}

// The file numbers of what passes: "1 3".
std::string passing(const MessageFilter& filter, const Mails& mails, const Calendar& calendar = Calendar::utc()) {
    std::string line;
    for (const auto* message : filter.apply(mails, calendar))
        line += (line.empty() ? "" : " ") + message->url.filename().stem().string();
    return line;
}

TEST(MessageFilterTest, findsAPersonInOneNameOrAddress) {
    const Mails mails = {
        mail("1").from("Kim Lee", "kim@x.org").to("Ann Ray", "ann@y.org"),
        mail("2").from("Jürgen Weiß", "jw@x.org").cc("Kim Lee", ""),
        mail("3").to("", "KIM.LEE@Z.ORG"),
        mail("4").from("Lee Kim", "").to("Org", "a@b"),
        mail("5"),
        mail("6").from("Ｋｉｍ　Ｌｅｅ", "").subject("kim"),
    };
    const struct {
        const char* why;
        const char* person;
        const char* expected;
    } rows[] = {
        {"From, To and Cc, a part of a word", "ki", "1 2 3 4 6"},
        {"several words are one text", "kim lee", "1 2 6"},
        {"case and accents do not matter, typed or stored", "JURGEN WEISS", "2"},
        {"accents typed", "Kím Lèe", "1 2 6"},
        {"the address", "lee@z.org", "3"},
        {"not across name and the next address", "lee ann", ""},
        {"not across two addresses", "kim org", ""},
        {"not across two messages", "org jurgen", ""},
        {"a line copied from a message", "Kim Lee <kim@x.org>", "1"},
        {"blanks at the ends and between", "  kim   lee ", "1 2 6"},
        {"blanks alone ask for nothing", " \t ", "1 2 3 4 5 6"},
        {"a mark alone asks for nothing", "\xCC\x81", "1 2 3 4 5 6"},
        {"no wildcard", "k*m", ""},
        {"the subject is not a person", "subject", ""},
        {"a line break is a blank", "kim\nlee", "1 2 6"},
    };
    for (const auto& row : rows) EXPECT_EQ(passing({.person = row.person}, mails), row.expected) << row.why;
}

TEST(MessageFilterTest, findsEveryWordOfTheSubject) {
    const Mails mails = {
        mail("1").subject("Re: Offer for the kitchen"),
        mail("2").subject("OFFER"),
        mail("3").subject("Küche: offer\n 7%"),
        mail("4").subject(""),
        mail("5").subject("of"),
        mail("6").subject("fer of").from("Offer", ""),
    };
    const struct {
        const char* why;
        const char* subject;
        const char* expected;
    } rows[] = {
        {"part of a word", "offer", "1 2 3"},
        {"any order", "kitchen RE: offer", "1"},
        {"every word", "offer kuche", "3"},
        {"words of two messages", "kitchen kuche", ""},
        {"the same word twice", "offer offer", "1 2 3"},
        {"any white space",
         "offer\t\xC2\xA0"
         "7%",
         "3"},
        {"not across two subjects", "offerkuche", ""},
        {"blanks alone ask for nothing", "  ", "1 2 3 4 5 6"},
    };
    for (const auto& row : rows) EXPECT_EQ(passing({.subject = row.subject}, mails), row.expected) << row.why;
}

TEST(MessageFilterTest, takesWholeDaysOfTheCalendar) {
    const auto berlin = Calendar::inZone("Europe/Berlin");   // the clock goes forward on 31 March 2024
    const Mails mails = {
        mail("1").date(utc(2024, 3, 30, 22h + 59min + 59s)),
        mail("2").date(utc(2024, 3, 30, 23h)),
        mail("3").date(utc(2024, 3, 31, 21h + 59min + 59s) + 999ms),
        mail("4").date(utc(2024, 3, 31, 22h)),
        mail("5").date(utc(2023, 12, 31, 22h + 59min)),
        mail("6").date(utc(2024, 2, 29, 12h)),
    };
    const Day last30{2024, 3, 30}, last31{2024, 3, 31};
    const struct {
        const char* why;
        std::optional<Day> start, end;
        const char* expected;
    } rows[] = {
        {"one day of 23 hours, both ends included", last31, last31, "2 3"},
        {"from a day on", last31, {}, "2 3 4"},
        {"up to the end of a day", {}, last30, "1 5 6"},
        {"the last day of a year", {}, Day{2023, 12, 31}, "5"},
        {"29 February", Day{2024, 2, 29}, Day{2024, 2, 29}, "6"},
        {"start after end", last31, last30, ""},
        {"no days", {}, {}, "1 2 3 4 5 6"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(passing({.startDay = row.start, .endDay = row.end}, mails, berlin), row.expected) << row.why;
}

TEST(MessageFilterTest, keepsTheFirstCopyThatPassesTheRest) {
    const Mails mails = {
        mail("1").id("a").in("INBOX"),
        mail("2").id("a").in("Archive"),
        mail("3").in("INBOX"),
        mail("4").in("INBOX"),
        mail("5").id("").in("INBOX"),
        mail("6").id("").in("Archive"),
        mail("7").id("A").in("INBOX").subject("x"),
    };
    const struct {
        const char* why;
        MessageFilter filter;
        const char* expected;
    } rows[] = {
        {"first in the list", {}, "1 3 4 5 6 7"},
        {"a copy in a mailbox that is not shown hides nothing", {.mailboxes = {{"Archive"}}}, "2 6"},
        {"all copies when asked", {.skipDuplicates = false}, "1 2 3 4 5 6 7"},
        {"an unknown mailbox", {.mailboxes = {{"Archive", "Gone"}}}, "2 6"},
        {"no mailbox", {.mailboxes = std::set<std::string>()}, ""},
        {"everything at once", {.mailboxes = {{"INBOX"}}, .subject = "X"}, "7"},
    };
    for (const auto& row : rows) EXPECT_EQ(passing(row.filter, mails), row.expected) << row.why;
}

TEST(MessageFilterTest, knowsWhetherAnythingIsAskedFor) {
    EXPECT_FALSE(MessageFilter{}.hasCriteria());
    EXPECT_FALSE((MessageFilter{.mailboxes = {{"INBOX"}}, .person = " ", .subject = "\n"}).hasCriteria());
    EXPECT_TRUE((MessageFilter{.endDay = Day{2024, 3, 5}}).hasCriteria());
    EXPECT_TRUE((MessageFilter{.person = "k"}).hasCriteria());
    EXPECT_TRUE((MessageFilter{.subject = "k"}).hasCriteria());
}

bool holdsFolded(const std::string& text, const std::string& wanted) {
    return text::foldForSearch(text).find(text::foldForSearch(wanted)) != std::string::npos;
}

// What one message after the other would say, without anything prepared.
std::vector<std::uint32_t> oneByOne(const MessageFilter& filter, const Mails& mails) {
    std::vector<std::uint32_t> found;
    std::set<std::string> seen;
    for (std::uint32_t i = 0; i < mails.size(); ++i) {
        const auto& message = mails[i];
        bool isFound = filter.person.empty();
        for (const auto* list : {&message.from, &message.to, &message.cc}) {
            for (const auto& [name, email] : **list)
                isFound = isFound || holdsFolded(name, filter.person) || holdsFolded(email, filter.person);
        }
        std::string word;
        for (const char c : filter.subject + " ") {
            if (c != ' ')
                word += c;
            else
                isFound = isFound && holdsFolded(message.subject, std::exchange(word, {}));
        }
        if (filter.mailboxes) isFound = isFound && filter.mailboxes->contains(message.mailboxID);
        if (isFound && filter.skipDuplicates && message.messageID) isFound = seen.insert(*message.messageID).second;
        if (isFound) found.push_back(i);
    }
    return found;
}

TEST(MessageFilterTest, findsWhatALookAtEachMessageFinds) {
    std::mt19937 random(5);
    const auto some = [&](std::size_t longest) {
        static const std::vector<std::string> letters = {"a", "b", "A", "ä", " ", "bb", "ß"};
        std::string text;
        for (auto size = random() % (longest + 1); size > 0; --size) text += letters[random() % letters.size()];
        return text;
    };
    for (int round = 0; round < 200; ++round) {
        Mails mails;
        for (int i = 0; i < 30; ++i) {
            auto message = mail(std::to_string(i)).subject(some(6)).in(some(1)).from(some(4), some(3));
            for (auto count = random() % 3; count > 0; --count) message.to(some(3), some(3));
            if (random() % 2) message.id(some(1) + "x");
            mails.push_back(message);
        }
        MessageFilter filter;
        filter.person = text::trimBlanks(some(3));
        filter.subject = text::trimBlanks(some(3));
        if (random() % 3 == 0) filter.mailboxes = {some(1), some(1)};
        filter.skipDuplicates = random() % 2 == 0;
        ASSERT_EQ(filter.matches(SearchableMessages(mails), Calendar::utc()), oneByOne(filter, mails))
            << '[' << filter.person << "] [" << filter.subject << ']';
    }
}

}   // namespace
}   // namespace ostrel
