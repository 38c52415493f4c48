#include "core/message/TextSearch.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(TextSearchTest, FindsEveryPatternThatOccurs) {
    using Patterns = std::vector<std::string>;
    const struct {
        const char* why;
        std::string text;
        Patterns patterns;
        std::vector<bool> expected;
    } rows[] = {
        {"nothing asked", "abc", {}, {}},
        {"nothing to search", "", {"a", ""}, {false, true}},
        {"pattern longer than the text", "ab", {"abc", "ab"}, {false, true}},
        {"one inside the other", "xabcdx", {"abcd", "bc", "c", "bd", "d"}, {true, true, true, false, true}},
        {"the longer one fails late", "aab", {"aac", "ab", "b"}, {false, true, true}},
        {"doubles", "aba", {"ab", "ba", "ab"}, {true, true, true}},
        {"overlapping itself", "cid:cid:x", {"cid:cid:cid:", "cid:cid:x", "cid:x"}, {false, true, true}},
        {"bytes above 127 and NUL", std::string("a\0\xFF", 3), {std::string("\0\xFF", 2), "\xFE"}, {true, false}},
    };
    for (const auto& row : rows) EXPECT_EQ(textSearch::occurrences(row.text, row.patterns), row.expected) << row.why;
}

// All words of two letters up to a length: every way in which patterns can share beginnings and ends.
TEST(TextSearchTest, AgreesWithSearchingOneByOne) {
    std::vector<std::string> words = {""};
    for (std::size_t i = 0; words[i].size() < 6; ++i) {
        words.push_back(words[i] + 'a');
        words.push_back(words[i] + 'b');
    }
    const std::string text = "abbabaabaababbbaabbab";
    for (std::size_t length = 0; length <= text.size(); ++length) {
        const std::string prefix = text.substr(0, length);
        const auto found = textSearch::occurrences(prefix, words);
        for (std::size_t i = 0; i < words.size(); ++i) {
            ASSERT_EQ(found[i], prefix.find(words[i]) != prefix.npos) << words[i] << " in " << prefix;
            std::vector<std::size_t> starts;
            for (auto at = prefix.find(words[i]); !words[i].empty() && at != prefix.npos;
                 at = prefix.find(words[i], at + 1)) {
                starts.push_back(at);
            }
            ASSERT_EQ(textSearch::positions(prefix, words[i]), starts) << words[i] << " in " << prefix;
        }
    }
}

}   // namespace
}   // namespace ostrel
