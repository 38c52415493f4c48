#include "core/message/HeaderParameters.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using Params = std::map<std::string, std::string>;

TEST(HeaderParametersTest, ValuesAreSplitAndUnquoted) {
    const struct {
        const char* why;
        std::optional<std::string_view> input;
        HeaderParameters expected;
    } rows[] = {
        {"absent", std::nullopt, {}},
        {"empty", "", {}},
        {"only the main value, case kept", " Text/Plain\t", {"Text/Plain", {}}},
        {"no main value", "; a=b", {"", {{"a", "b"}}}},
        {"names lower-cased, values kept", "x; CharSet = UTF-8 ;", {"x", {{"charset", "UTF-8"}}}},
        {"a semicolon inside quotes", "x; a=\"b;c\"; d=e", {"x", {{"a", "b;c"}, {"d", "e"}}}},
        {"an escaped quote does not end the quotes", R"(x; a="b\";c"; d=e)", {"x", {{"a", "b\";c"}, {"d", "e"}}}},
        {"outside quotes a backslash escapes nothing", R"(x; a=b\;c=d)", {"x", {{"a", "b\\"}, {"c", "d"}}}},
        {"unquoted values keep backslashes", R"(x; a=C:\\f)", {"x", {{"a", R"(C:\\f)"}}}},
        {"quoted pairs of backslashes become one", R"(x; a="C:\\f\g")", {"x", {{"a", R"(C:\f\g)"}}}},
        {"a doubled backslash escapes no quote", R"(x; a="b\\";c=d)", {"x", {{"a", "b\\"}, {"c", "d"}}}},
        {"quotes that do not close swallow the rest", "x; a=\"b; c=d", {"x", {{"a", "\"b; c=d"}}}},
        {"quotes in the middle stay", "x; a=b\"c\"d", {"x", {{"a", "b\"c\"d"}}}},
        {"a single quote character is no quoted value", "x; a=\"", {"x", {{"a", "\""}}}},
        {"empty quoted value", "x; a=\"\"", {"x", {{"a", ""}}}},
        {"the first equals sign divides", "x; a=b=c", {"x", {{"a", "b=c"}}}},
        {"no equals sign, no name", "x; a; =b; ; c=", {"x", {{"c", ""}}}},
        {"the last of two counts", "x; a=1; A=2", {"x", {{"a", "2"}}}},
        {"encoded word in quotes", "x; a=\"=?utf-8?q?caf=C3=A9?=\"", {"x", {{"a", "café"}}}},
        {"backslash at the very end", "x; a=\"b\\", {"x", {{"a", "\"b\\"}}}},
    };
    for (const auto& row : rows) EXPECT_EQ(HeaderParameters::parse(row.input), row.expected) << row.why;
}

TEST(HeaderParametersTest, SectionsAreJoinedAndDecoded) {
    const struct {
        const char* why;
        std::string_view input;
        Params expected;
    } rows[] = {
        {"charset and language", "x; title*=utf-8'en'r%C3%A9sum%c3%a9.csv", {{"title", "résumé.csv"}}},
        {"charset label is honoured", "x; a*=iso-8859-1''%E9", {{"a", "é"}}},
        {"empty charset means UTF-8 first", "x; a*=''%C3%A9", {{"a", "é"}}},
        {"wrong charset falls back", "x; a*=utf-8''%E9", {{"a", "é"}}},
        {"no quotes at all", "x; a*=%C3%A9", {{"a", "é"}}},
        {"one apostrophe belongs to the value", "x; a*=it's%21", {{"a", "it's!"}}},
        {"a third apostrophe belongs to the value", "x; a*=utf-8''it's", {{"a", "it's"}}},
        {"extended wins, whatever comes first", "x; f*=utf-8''b; f=a; g=a; g*=utf-8''b", {{"f", "b"}, {"g", "b"}}},
        {"out of order", "x; a*2=c; a*0=a; a*1=b", {{"a", "abc"}}},
        {"numeric order", "x; a*10=k; a*9=j", {{"a", "jk"}}},
        {"equal numbers keep their order", "x; a*0=a; a*0=b", {{"a", "ab"}}},
        {"a gap is closed", "x; a*1=a; a*7=b", {{"a", "ab"}}},
        {"signs are read", "x; a*+1=b; a*-1=a", {{"a", "ab"}}},
        {"mixed: later sections inherit the charset",
         "x; t*0*=us-ascii'en'This%20is%20; t*1*=%2A%2A%2Afun%2A%2A%2A; t*2=\" it's%20\"",
         {{"t", "This is ***fun*** it's%20"}}},
        {"only the first section names a charset", "x; a*0=b; a*1*=utf-8''c", {{"a", "butf-8''c"}}},
        {"first is first by number", "x; a*1*=iso-8859-1''%E9; a*0*=utf-8''%C3%A9", {{"a", "Ã©iso-8859-1''é"}}},
        {"a character divided between sections", "x; a*0*=utf-8''%C3; a*1*=%A9", {{"a", "é"}}},
        {"suffix that is no number", "x; a*b=c; d*1x*=%41", {{"a*b", "c"}, {"d*1x", "A"}}},
        {"suffix beyond 64 bits", "x; a*99999999999999999999=c", {{"a*99999999999999999999", "c"}}},
        {"suffix empty", "x; a**=%41", {{"a*", "A"}}},
        {"percent signs that escape nothing",
         "x; a*=%; b*=%4; c*=%4g%41; d*=%+1%-1%%41",
         {{"a", "%"}, {"b", "%4"}, {"c", "%4gA"}, {"d", "%+1%-1%A"}}},
        {"plain values are not percent-decoded", "x; a=%41", {{"a", "%41"}}},
    };
    for (const auto& row : rows) EXPECT_EQ(HeaderParameters::parse(row.input).params, row.expected) << row.why;
}

TEST(HeaderParametersTest, MissingParameterIsNotAnEmptyOne) {
    const auto parsed = HeaderParameters::parse("x; a=");
    EXPECT_EQ(parsed.param("a"), "");
    EXPECT_EQ(parsed.param("b"), std::nullopt);
}

}   // namespace
}   // namespace ostrel
