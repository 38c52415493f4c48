#include "core/message/MailAddress.h"

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {

void PrintTo(const MailAddress& address, std::ostream* out) {
    *out << '{' << address.name << '|' << address.email << '}';
}

namespace {

using List = std::vector<MailAddress>;

struct Row {
    const char* why;
    std::string value;
    List expected;
};

void check(const std::vector<Row>& rows) {
    for (const auto& row : rows) EXPECT_EQ(MailAddress::list(row.value), row.expected) << row.why << ": " << row.value;
}

TEST(MailAddressTest, readsTheFormsOfTheStandard) {
    check({
        {"bare", "kim@x.org", {{"", "kim@x.org"}}},
        {"name", "Kim Lee <kim@x.org>", {{"Kim Lee", "kim@x.org"}}},
        {"brackets alone", "<kim@x.org>", {{"", "kim@x.org"}}},
        {"quoted", "\"Lee, Kim\" <kim@x.org>", {{"Lee, Kim", "kim@x.org"}}},
        {"a quoted name is whole", "nobody, \"Kim Lee\" <kim@x.org>", {{"nobody", ""}, {"Kim Lee", "kim@x.org"}}},
        {"brackets that hold no address and never close", "John Doe <nobody", {{"John Doe nobody", ""}}},
        {"escapes", R"("Kim \"K\" \\ Lee" <kim@x.org>)", {{R"(Kim "K" \ Lee)", "kim@x.org"}}},
        {"quoted and not", "\"Kim\" Lee <kim@x.org>", {{"Kim Lee", "kim@x.org"}}},
        {"folded", "Kim\r\n Lee\r\n\t<kim@x.org>,\r\n ann@x.org", {{"Kim Lee", "kim@x.org"}, {"", "ann@x.org"}}},
        {"quoted local part", "\"kim lee\"@x.org, <\"a,b\"@x.org>", {{"", "\"kim lee\"@x.org"}, {"", "\"a,b\"@x.org"}}},
        {"domain literal",
         "kim@[10.0. 0.1], <a@[IPv6:2001:db8::1]>",
         {{"", "kim@[10.0.0.1]"}, {"", "a@[IPv6:2001:db8::1]"}}},
        {"comments, nested and escaped",
         "Pete(A nice \\) chap) <pete(his account)@silly.test(his host)>",
         {{"Pete", "pete@silly.test"}}},
        {"comment as the name", "kim@x.org (Kim (K) Lee)", {{"Kim (K) Lee", "kim@x.org"}}},
        {"comment as the name of brackets", "<kim@x.org> (Kim Lee)", {{"Kim Lee", "kim@x.org"}}},
        {"a comment does not replace a name", "Kim <kim@x.org> (work)", {{"Kim", "kim@x.org"}}},
        {"a comment separates", "Kim(x)Lee <kim@x.org>", {{"Kim Lee", "kim@x.org"}}},
        {"route", "Mary <@a.test,@b.test:mary@x.org>", {{"Mary", "mary@x.org"}}},
        {"blanks around @ and dots",
         "jdoe@test   . example, <a . b @ x . org>",
         {{"", "jdoe@test.example"}, {"", "a.b@x.org"}}},
        {"empty elements", ", kim@x.org,, (nobody) ,ann@x.org,", {{"", "kim@x.org"}, {"", "ann@x.org"}}},
    });
}

TEST(MailAddressTest, putsMembersOfGroupsInTheirPlace) {
    check({
        {"members",
         "A Group(Some people)\r\n :Chris Jones <c@(host.)public.example>,\r\n joe@example.org,\r\n"
         "  John <jdoe@one.test> (my dear friend); (the end of the group)",
         {{"Chris Jones", "c@public.example"}, {"", "joe@example.org"}, {"John", "jdoe@one.test"}}},
        {"empty", "undisclosed-recipients:;", {}},
        {"empty with comments", "(Empty list)(start)Hidden recipients  :(nobody(that I know))  ;", {}},
        {"no semicolon", "Undisclosed recipients:", {}},
        {"no semicolon, members", "Friends: kim@x.org, ann@x.org", {{"", "kim@x.org"}, {"", "ann@x.org"}}},
        {"between others", "a@x, Friends: b@x, c@x; d@x", {{"", "a@x"}, {"", "b@x"}, {"", "c@x"}, {"", "d@x"}}},
        {"quoted group name", "\"Kim: Friends\": b@x;", {{"", "b@x"}}},
        {"no address is lost to a group's name", "a@x Friends: b@x;", {{"Friends", "a@x"}, {"", "b@x"}}},
        {"a colon in a name is no group", "Re: Kim 9:30 <kim@x>", {{"Re: Kim 9:30", "kim@x"}}},
    });
}

TEST(MailAddressTest, decodesNamesAfterTheStructureIsKnown) {
    check({
        {"encoded", "=?utf-8?Q?M=C3=BCller?= <m@x>", {{"Müller", "m@x"}}},
        {"adjacent words join", "=?utf-8?B?S2lt?= =?utf-8?B?IExlZQ==?= <k@x>", {{"Kim Lee", "k@x"}}},
        {"inside quotes", "\"=?utf-8?Q?M=C3=BCller?=\" <m@x>", {{"Müller", "m@x"}}},
        {"decoded comma, bracket and quote separate nothing",
         "=?utf-8?Q?Lee=2C_=22Kim=22_=3Ca=40b=3E=3B?= <k@x>, a@x",
         {{"Lee, \"Kim\" <a@b>;", "k@x"}, {"", "a@x"}}},
        {"raw comma in the word", "=?utf-8?Q?Lee, Kim?= <k@x>", {{"Lee, Kim", "k@x"}}},
        {"comma between two words", "=?utf-8?Q?Lee?=, =?utf-8?Q?Kim?= <k@x>", {{"Lee, Kim", "k@x"}}},
        {"comment as the name", "k@x (=?utf-8?Q?M=C3=BCller?=)", {{"Müller", "k@x"}}},
        {"the whole encoded", "=?utf-8?Q?=22Lee=2C_Kim=22_=3Ck=40x=3E?=", {{"Lee, Kim", "k@x"}}},
        {"the address encoded", "=?utf-8?Q?k=40x?=, Ann <=?utf-8?Q?a=40x?=>", {{"", "k@x"}, {"Ann", "a@x"}}},
        {"two addresses in one word stay a text", "=?utf-8?Q?=3Ca=40x=3E=2C_=3Cb=40x=3E?=", {{"<a@x>, <b@x>", ""}}},
        {"a word without its end swallows no address",
         "=?utf-8?Q?Kim <kim@x>, =?utf-8?Q?Ann?= <ann@x>",
         {{"=?utf-8?Q?Kim", "kim@x"}, {"Ann", "ann@x"}}},
        {"base64 padding is no new word", "=?utf-8?B?S2ltLA==?= <k@x>", {{"Kim,", "k@x"}}},
        {"line breaks of the decoded name", "=?utf-8?Q?Kim=0D=0ABcc:_a=40b=00?= <k@x>", {{"Kim Bcc: a@b", "k@x"}}},
    });
}

TEST(MailAddressTest, readsWhatClientsSend) {
    check({
        {"dots", "Dr. Kim J. Lee <kim@x>", {{"Dr. Kim J. Lee", "kim@x"}}},
        {"unquoted comma", "Lee, Kim <kim@x>, ann@x", {{"Lee, Kim", "kim@x"}, {"", "ann@x"}}},
        {"stray comma before the brackets", "Kim Lee, <kim@x>", {{"Kim Lee", "kim@x"}}},
        {"an address before is not part of the name", "ann@x, Kim <kim@x>", {{"", "ann@x"}, {"Kim", "kim@x"}}},
        {"a quoted name before is not either", "\"Ann\", Kim <kim@x>", {{"Ann", ""}, {"Kim", "kim@x"}}},
        {"semicolons", "Kim <kim@x>; Lee; Ann <ann@x>;", {{"Kim", "kim@x"}, {"Lee", ""}, {"Ann", "ann@x"}}},
        {"raw 8-bit", "Kim Müller <kim@x>", {{"Kim Müller", "kim@x"}}},
        {"the address as the name", "kim@x <kim@x>", {{"kim@x", "kim@x"}}},
        {"and quoted with apostrophes", "\"'kim@x'\" <kim@x>", {{"kim@x", "kim@x"}}},
        {"apostrophes", "'Kim Lee' <kim@x>, 'Kim' and 'Ann' <a@x>", {{"Kim Lee", "kim@x"}, {"'Kim' and 'Ann'", "a@x"}}},
        {"an apostrophe of the name stays", "O'Neil <o'neil@x>", {{"O'Neil", "o'neil@x"}}},
        {"apostrophes around the address", "'kim@x', <'ann@x'>", {{"", "kim@x"}, {"", "ann@x"}}},
        {"empty quotes",
         "\"\" <a@x>, '' <b@x>, \"''\" <c@x>, \"\\\"\" <d@x>",
         {{"", "a@x"}, {"", "b@x"}, {"", "c@x"}, {"", "d@x"}}},
        {"blanks at the ends", "\"  Kim  Lee \" < kim@x >", {{"Kim Lee", "kim@x"}}},
        {"mailto", "mailto:kim@x, Ann <MAILTO:ann@x>", {{"", "kim@x"}, {"Ann", "ann@x"}}},
        {"empty brackets", "MAILER-DAEMON <>, <>", {{"MAILER-DAEMON", ""}}},
        {"name only", "Kim Lee", {{"Kim Lee", ""}}},
        {"quoted whole", "\"Kim Lee <kim@x>\", \"ann@x\"", {{"Kim Lee", "kim@x"}, {"", "ann@x"}}},
        {"name behind the address", "kim@x Kim Lee", {{"Kim Lee", "kim@x"}}},
        {"name before the address", "Kim J. Lee kim@x", {{"Kim J. Lee", "kim@x"}}},
        {"the initial is not in the address", "Kim J. lee@x", {{"Kim J.", "lee@x"}}},
        {"address in the comment", "Kim Lee (kim@x)", {{"Kim Lee", "kim@x"}}},
        {"blanks between addresses", "kim@x ann@x", {{"", "kim@x"}, {"", "ann@x"}}},
        {"no comma behind brackets", "Kim <kim@x> Ann <ann@x>", {{"Kim", "kim@x"}, {"Ann", "ann@x"}}},
        {"Windows account", "CORP\\kim <kim@x>", {{"CORP\\kim", "kim@x"}}},
        {"brackets in a name", "[Build] Kim <kim@x>", {{"[Build] Kim", "kim@x"}}},
        {"@ in a name", "Kim @ Work <kim@x>", {{"Kim @ Work", "kim@x"}}},
        {"local part with a blank", "<kim lee@x>", {{"", "kim lee@x"}}},
        {"local user", "Kim <root>", {{"Kim", "root"}}},
    });
}

TEST(MailAddressTest, losesNoAddressToWhatIsBroken) {
    check({
        {"no closing bracket", "Kim <kim@x, Ann <ann@x>", {{"Kim", "kim@x"}, {"Ann", "ann@x"}}},
        {"no closing bracket and no comma", "Kim <kim@x <ann@x>", {{"Kim", "kim@x"}, {"", "ann@x"}}},
        {"no closing bracket at the end", "Lee, Kim <kim@x", {{"Lee, Kim", "kim@x"}}},
        {"no opening bracket", "Kim kim@x>, ann@x", {{"Kim", "kim@x"}, {"", "ann@x"}}},
        {"doubled brackets", "Kim <<kim@x>>", {{"Kim", "kim@x"}}},
        {"brackets in a name", "Kim <K> Lee <kim@x>", {{"Kim", "K"}, {"Lee", "kim@x"}}},
        {"no closing quote", "\"Kim Lee <kim@x>, Ann <ann@x>", {{"Kim Lee", "kim@x"}, {"Ann", "ann@x"}}},
        {"no closing quote, others later", "\"Kim <kim@x>, \"Ann\" <ann@x>", {{"Kim", "kim@x"}, {"Ann", "ann@x"}}},
        {"no opening quote", "Kim Lee\" <kim@x>", {{"Kim Lee", "kim@x"}}},
        {"closing quote escaped", "\"Kim\\\" <kim@x>, \"Ann\" <ann@x>", {{"Kim\"", "kim@x"}, {"Ann", "ann@x"}}},
        {"comment that never closes", "Kim (Lee <kim@x>, ann@x", {{"Kim (Lee", "kim@x"}, {"", "ann@x"}}},
        {"stray closing parenthesis", "Kim) <kim@x>", {{"Kim)", "kim@x"}}},
        {"domain literal that never closes", "kim@[10.0.0.1, ann@x", {{"", "kim@[10.0.0.1"}, {"", "ann@x"}}},
        {"nor with the bracket of another", "kim@[10.0.0.1, <ann@[1.2]>", {{"", "kim@[10.0.0.1"}, {"", "ann@[1.2]"}}},
        {"@ without a side", "@x, kim@, @", {{"@x", ""}, {"kim@", ""}, {"@", ""}}},
        {"a backslash at the end", "kim@x, Ann\\", {{"", "kim@x"}, {"Ann\\", ""}}},
        {"nothing", "", {}},
        {"separators only", " ,;,:;<>\"\"()", {}},
        {"controls", std::string("Kim\0Lee <ki\0m@x>", 17), {{"Kim Lee", "ki m@x"}}},
    });
}

std::string repeated(const std::string& text, std::size_t count) {
    std::string out;
    for (std::size_t i = 0; i < count; ++i) out += text;
    return out;
}

TEST(MailAddressTest, readsAHundredThousandRecipients) {
    constexpr std::size_t many = 100'000;
    const auto list = MailAddress::list(repeated("Kim Lee <kim@x.org>, ", many));
    ASSERT_EQ(list.size(), many);
    EXPECT_EQ(list.front(), list.back());
    EXPECT_EQ(MailAddress::list(repeated("\"Lee, Kim\" <kim@x.org>;", many)).size(), many);
    EXPECT_EQ(MailAddress::list(repeated("a@x ", many)).size(), many);
    EXPECT_EQ(MailAddress::list(repeated("a,", many)).size(), many);
    EXPECT_EQ(MailAddress::list(repeated("Lee, Kim <k@x>,", many)).size(), many);
    EXPECT_EQ(MailAddress::list(repeated("\"a <b>, \"c ", many) + "<k@x>").back().email, "k@x");
}

// None of these may cost more than its length: a second look at the rest for each of them would not
// end.
TEST(MailAddressTest, readsFloodsInOnePass) {
    constexpr std::size_t many = 100'000;
    for (const std::string flood :
         {"(",   ")", "((", "<",       ">",   "\"",     "\\\"",     "\"\\",    "\"a ", "\"<a>, \"b", "@",    "@[",
          "a@",  ":", "a:", "mailto:", "=?",  "=?u?q?", "=?u?q?a?", "=?u?q?é", "<@a,", ".",          ". ",   "a. ",
          " .a", "'", "\\", "<a@b",    "(a)", "[",      ";",        ",",       "\xC3", "a ",         "\"\" "}) {
        const auto value = repeated(flood, many);
        for (const auto& text : {value, value + ", kim@x.org", "Kim <" + value + ">", "\"" + value + "\" <kim@x.org>)"})
            EXPECT_LE(MailAddress::list(text).size(), text.size()) << flood;
    }
}

// A field cut anywhere is still a list, and the addresses before the last comma stand.
TEST(MailAddressTest, readsEveryPrefix) {
    const std::string value =
        "\"Lee, Kim\" <kim@x>, =?utf-8?Q?M=C3=BC?= (c) <m@[1.2]>, Group: a@x, <@r:b@x>; d@x (Dee (D)), \"e\\\" f\"@x";
    for (std::size_t size = 20; size <= value.size(); ++size) {
        const auto list = MailAddress::list(std::string_view(value).substr(0, size));
        ASSERT_FALSE(list.empty()) << size;
        EXPECT_EQ(list.front(), (MailAddress{"Lee, Kim", "kim@x"})) << size;
    }
}

}   // namespace
}   // namespace ostrel
