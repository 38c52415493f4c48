#include "core/selection/Threads.h"
#include "tests/core/selection/SummaryBuilder.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using Mails = std::vector<MessageSummary>;

std::vector<std::string> assigned(const Mails& mails) {
    std::vector<const MessageSummary*> list;
    for (const auto& message : mails) list.push_back(&message);
    return Threads::assign(list);
}

// The conversation of each message, in list order: "C0001 C0002 C0001".
std::string conversations(const Mails& mails) {
    std::string line;
    for (const auto& identifier : assigned(mails)) line += (line.empty() ? "" : " ") + identifier;
    return line;
}

TEST(ThreadsTest, groupsMessagesByWhatTheyReferTo) {
    const struct {
        const char* why;
        Mails mails;
        const char* expected;
    } rows[] = {
        {"a reply", {mail("1").id("a"), mail("2").id("b").replyTo("a")}, "C0001 C0001"},
        {"a reply that comes first in the list", {mail("1").id("b").replyTo("a"), mail("2").id("a")}, "C0001 C0001"},
        {"answers to a message that is not there",
         {mail("1").id("b").replyTo("a"), mail("2").id("c").reference("a")},
         "C0001 C0001"},
        {"a chain with gaps",
         {mail("1").id("a"), mail("2").id("d").reference("b").reference("c"), mail("3").id("b").replyTo("a")},
         "C0001 C0001 C0001"},
        {"copies of one message in two mailboxes",
         {mail("1").id("a"), mail("2"), mail("3").id("a")},
         "C0001 C0002 C0001"},
        {"two conversations meet in one answer",
         {mail("1").id("a"), mail("2").id("b"), mail("3").id("c"), mail("4").replyTo("c").replyTo("a")},
         "C0001 C0002 C0001 C0001"},
        {"nothing to go by", {mail("1"), mail("2"), mail("3")}, "C0001 C0002 C0003"},
        {"equal subjects say nothing",
         {mail("1").subject("Re: Hi").id("a"), mail("2").subject("Re: Hi").id("b")},
         "C0001 C0002"},
        {"empty identifiers are none", {mail("1").id(""), mail("2").id("").replyTo("").reference("")}, "C0001 C0002"},
        {"identifiers differ by letter case", {mail("1").id("a"), mail("2").replyTo("A")}, "C0001 C0002"},
        {"a message that answers itself", {mail("1").id("a").replyTo("a"), mail("2").id("b")}, "C0001 C0002"},
        {"a circle", {mail("1").id("a").replyTo("b"), mail("2").id("b").replyTo("a")}, "C0001 C0001"},
        {"no messages", {}, ""},
    };
    for (const auto& row : rows) EXPECT_EQ(conversations(row.mails), row.expected) << row.why;
}

TEST(ThreadsTest, keepsOneWidthSoThatTheColumnSorts) {
    Mails mails;
    for (int i = 0; i < 12'000; ++i) mails.push_back(mail(std::to_string(i)));
    const auto identifiers = assigned(mails);
    ASSERT_EQ(identifiers.size(), mails.size());
    EXPECT_EQ(identifiers.front(), "C00001");
    std::string before;
    for (const auto& identifier : identifiers) {
        ASSERT_LT(before, identifier);
        before = identifier;
    }
}

// The order of the list decides the numbers, never who belongs together.
TEST(ThreadsTest, groupsAlikeInEveryOrder) {
    std::mt19937 random(11);
    Mails mails;
    for (int i = 0; i < 400; ++i) {
        auto message = mail(std::to_string(i)).id(std::to_string(i) + "m");
        for (auto links = random() % 3; links > 0; --links) message.reference(std::to_string(random() % 600) + "m");
        mails.push_back(message);
    }
    const auto partition = [](const Mails& list) {
        std::map<std::string, std::set<std::string>> groups;
        const auto identifiers = assigned(list);
        for (std::size_t i = 0; i < list.size(); ++i) groups[identifiers[i]].insert(list[i].id());
        std::set<std::set<std::string>> parts;
        for (const auto& [identifier, members] : groups) parts.insert(members);
        return parts;
    };
    const auto expected = partition(mails);
    EXPECT_GT(expected.size(), 1u);
    for (int round = 0; round < 5; ++round) {
        std::ranges::shuffle(mails, random);
        EXPECT_EQ(partition(mails), expected);
    }
}

TEST(ThreadsTest, takesHostileReferencesInOnePass) {
    auto hostile = mail("0");
    for (int i = 0; i < 300'000; ++i) hostile.reference(std::to_string(i) + "r").reference("same");
    Mails mails = {hostile};
    for (int i = 1; i <= 20'000; ++i) {   // the longest chain, each link told once
        mails.push_back(mail(std::to_string(i)).id(std::to_string(i) + "c").replyTo(std::to_string(i - 1) + "c"));
    }
    const auto identifiers = assigned(mails);
    EXPECT_EQ(identifiers[1], "C0002");
    EXPECT_EQ(identifiers[20'000], "C0002");
}

}   // namespace
}   // namespace ostrel
