#include "core/message/MessageIDs.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using List = std::vector<std::string>;

struct Row {
    const char* why;
    std::string value;
    List expected;
};

void check(const std::vector<Row>& rows) {
    for (const auto& row : rows) EXPECT_EQ(MessageIDs::list(row.value), row.expected) << row.why << ": " << row.value;
}

TEST(MessageIDsTest, takesIdentifiersInOrder) {
    check({
        {"one", "<a@x.org>", {"a@x.org"}},
        {"several, folded", "<a@x.org>\r\n <b@x.org>\t<c@x.org>", {"a@x.org", "b@x.org", "c@x.org"}},
        {"duplicates stay", "<a@x> <b@x> <a@x>", {"a@x", "b@x", "a@x"}},
        {"letter case stays", "<AbC@X.Org>", {"AbC@X.Org"}},
        {"nothing between", "<a@x><b@x>", {"a@x", "b@x"}},
        {"commas", "<a@x>, <b@x>;<c@x>", {"a@x", "b@x", "c@x"}},
        {"comments, also with identifiers", "(<no@x> (nested)) <a@x> (\\) <no@x>)", {"a@x"}},
        {"brackets make an identifier without an @", "<12345>", {"12345"}},
        {"domain literal", "<a@[10.0.0.1]>", {"a@[10.0.0.1]"}},
        {"raw 8-bit text", "<ä@x>", {"ä@x"}},
    });
}

TEST(MessageIDsTest, passesOverPhrases) {
    check({
        {"quoted phrase", "Your message of \"Tue, 5 Mar <no@x>\" <a@x>", {"a@x"}},
        {"an address in a phrase names a person", "Message from kim@x.org of Tuesday <a@x>", {"a@x"}},
        {"behind the identifier", "<a@x> from Kim Lee on Mar 5", {"a@x"}},
        {"a phrase alone", "Message from kim@x.org of Tuesday", {}},
        {"escaped quote", "\"a \\\" <no@x>\" <a@x>", {"a@x"}},
        {"a quote that never closes hides nothing", "\"Tue <a@x> <b@x>", {"a@x", "b@x"}},
    });
}

TEST(MessageIDsTest, mendsWhatIsBroken) {
    check({
        {"blanks inside", "< a @\r\n x.org >", {"a@x.org"}},
        {"no brackets", "a@x.org", {"a@x.org"}},
        {"no brackets, several", "a@x.org, b@x.org", {"a@x.org", "b@x.org"}},
        {"brackets and none", "<a@x> b@x", {"a@x", "b@x"}},
        {"opening bracket missing", "a@x>", {"a@x"}},
        {"closing bracket missing", "<a@x <b@x>", {"a@x", "b@x"}},
        {"closing bracket missing at the end", "<a@x> <b@x", {"a@x", "b@x"}},
        {"closing bracket missing before a bare one", "<a@x, b@x", {"a@x", "b@x"}},
        {"doubled brackets", "<<a@x>>", {"a@x"}},
        {"empty brackets", "<> < > <a@x>", {"a@x"}},
        {"a comment that never closes", "(Tue <a@x>", {"a@x"}},
        {"control characters", std::string("<a\0\x01@x>", 7), {"a@x"}},
        {"encoded", "=?utf-8?q?=3Ca=40x=2Eor?=\r\n =?utf-8?q?g=3E?= <b@x>", {"a@x.org", "b@x"}},
        {"nothing", "", {}},
        {"brackets only", "<<<>>>", {}},
        {"an @ is not enough", "@ a@ @b", {}},
        {"a word is no identifier", "12345", {}},
    });
}

// Reading is told by the brackets alone: writing down what was read and reading it again gives the same.
TEST(MessageIDsTest, readsBackItsOwnList) {
    for (const std::string value : {"<a@x> b@x (c) \"d\" <e", "x <<a b@c>> , <f>", "a@b c@d"}) {
        const auto first = MessageIDs::list(value);
        std::string written;
        for (const auto& identifier : first) written += "<" + identifier + ">\r\n ";
        EXPECT_EQ(MessageIDs::list(written), first) << value;
    }
}

TEST(MessageIDsTest, readsFieldsOfMegabytesInOnePass) {
    constexpr std::size_t much = 200'000;
    const auto repeated = [](const std::string& text) {
        std::string out;
        for (std::size_t i = 0; i < much; ++i) out += text;
        return out;
    };
    EXPECT_EQ(MessageIDs::list(repeated("<a@x> ")).size(), much);
    EXPECT_EQ(MessageIDs::list(repeated("<")), List{});
    EXPECT_EQ(MessageIDs::list(repeated("<a ")).size(), much);
    EXPECT_EQ(MessageIDs::list(repeated("(") + "x) <a@x>"), (List{"a@x"}));
    EXPECT_EQ(MessageIDs::list(repeated("\"\\\"") + "<a@x>"), (List{"a@x"}));
    EXPECT_EQ(MessageIDs::list(std::string("<").append(much, ' ') + "a@x"), (List{"a@x"}));
}

}   // namespace
}   // namespace ostrel
