#include "core/selection/MessageOrder.h"
#include "platform/LocaleFormat.h"
#include "tests/core/selection/SummaryBuilder.h"
#include "tests/platform/Surroundings.h"

#include <algorithm>
#include <chrono>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using Mails = std::vector<MessageSummary>;

TEST(MessageOrderTest, SortsAsAFileManagerAndLeavesTheRestInPlace) {
    const EnvironmentVariable locale("LC_ALL", "de_DE.UTF-8");
    const auto at = [](int seconds) { return Instant(std::chrono::seconds(seconds)); };
    const Mails mails = {
        mail("0").subject("Rechnung 10").from("Zoë", "a@x").date(at(3)),
        mail("1").subject("rechnung 9").from("", "zoe@x").date(at(-3)),
        mail("2").subject("Ärger").from("Ärzte", "").date(at(3)),
        mail("3").subject("").date(at(1)),
        mail("4").subject("Zebra").from("Ärzte", "other@x").date(at(2)),
        mail("5").subject("rechnung 9").from("anna", "").date(at(0)),
    };
    using enum SortKey;
    const struct {
        const char* why;
        SortOrder order;
        std::vector<std::uint32_t> expected;
    } rows[] = {
        {"no order", {}, {0, 1, 2, 3, 4, 5}},
        {"dates before 1970 too", {{date, true}}, {1, 5, 3, 4, 0, 2}},
        {"equal keys stay in place, also from the end", {{date, false}}, {0, 2, 4, 3, 5, 1}},
        {"numbers by value, case folded, umlauts in their place", {{subject, true}}, {3, 2, 1, 5, 0, 4}},
        {"backwards, equal ones still forwards", {{subject, false}}, {4, 0, 1, 5, 2, 3}},
        {"an address where there is no name", {{from, true}}, {3, 5, 2, 4, 0, 1}},
        {"the next key decides between equal ones", {{from, true}, {date, true}}, {3, 5, 4, 2, 0, 1}},
        {"a key twice", {{subject, true}, {subject, false}}, {3, 2, 1, 5, 0, 4}},
    };
    const SortableMessages sortable(mails);
    for (const auto& row : rows) EXPECT_EQ(sortable.sorted(row.order), row.expected) << row.why;
    EXPECT_TRUE(SortableMessages(Mails()).sorted({{subject, false}}).empty());
}

// Against the plain way, on texts made of what collation treats in its own way.
TEST(MessageOrderTest, RanksOrderAsComparingDoes) {
    const std::string pieces[] = {"a", "A",  "á",  "2",        "10", "02", " ", "-",
                                  "ß", "ss", "日", "\xCC\x81", "e",  "é",  "",  "\x01"};
    std::mt19937 random(5);
    Mails mails;
    for (int i = 0; i < 400; ++i) {
        std::string subject;
        for (auto count = random() % 4; count > 0; --count) subject += pieces[random() % std::size(pieces)];
        mails.push_back(mail(std::to_string(i)).subject(subject));
    }
    std::vector<std::uint32_t> expected(mails.size());
    std::iota(expected.begin(), expected.end(), 0U);
    std::ranges::stable_sort(expected,
                             [&](auto a, auto b) { return locale::compare(mails[a].subject, mails[b].subject) < 0; });
    EXPECT_EQ(SortableMessages(mails).sorted({{SortKey::subject, true}}), expected);
}

}   // namespace
}   // namespace ostrel
