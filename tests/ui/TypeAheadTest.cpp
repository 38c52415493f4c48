#include "ui/list/TypeAhead.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(TypeAhead, findsTheRowThatBeginsAsTyped) {
    const std::vector<std::string> rows{"Apple trees", "Ärger", "apple pie", "Büro", "Straße"};
    const struct {
        const char* why;
        std::u32string typed;
        std::optional<std::size_t> current, found;
    } cases[] = {
        {"from the top without a selection", U"a", std::nullopt, 0},
        {"a new letter looks behind the current row", U"a", 0, 1},
        {"and goes around", U"b", 3, 3},
        {"a word is found from the current row on", U"apple p", 0, 2},
        {"case and accents do not matter", U"ARG", 0, 1},
        {"one character that folds to two", U"strasse", std::nullopt, 4},
        {"nobody begins so", U"zz", 2, std::nullopt},
        {"in the middle does not count", U"trees", 1, std::nullopt},
    };
    for (const auto& row : cases) {
        TypeAhead search;
        std::optional<std::size_t> found, current = row.current;
        std::uint32_t when = 100;
        for (const char32_t character : row.typed) {
            found = search.type(character, when += 10, current, rows.size(), [&](std::size_t i) { return rows[i]; });
            if (found) current = found;
        }
        EXPECT_EQ(found, row.found) << row.why;
    }
}

TEST(TypeAhead, aPauseBeginsANewWordAndABlankBelongsToOne) {
    const std::vector<std::string> rows{"one", "none", "nn"};
    const auto text = [&](std::size_t i) { return rows[i]; };
    TypeAhead search;
    EXPECT_FALSE(search.isTyping(0)) << "a blank is a command";
    EXPECT_EQ(search.type(U'n', 100, 0, rows.size(), text), 1u);
    EXPECT_TRUE(search.isTyping(500));
    EXPECT_EQ(search.type(U'n', 500, 1, rows.size(), text), 2u);
    EXPECT_EQ(search.type(U'n', 5000, 2, rows.size(), text), 1u);
    EXPECT_EQ(search.type(U'n', 9000, std::nullopt, 0, text), std::nullopt) << "no rows";
}

}   // namespace
}   // namespace ostrel
