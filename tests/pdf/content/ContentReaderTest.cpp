#include "pdf/content/ContentReader.h"
#include "pdf/content/Rewriter.h"
#include "pdf/content/StateStack.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel::pdf {
namespace {

TEST(ContentReader, GivesOperationsUntilContentCannotBeFollowed) {
    const struct {
        const char* why;
        std::string content, operations, problem;
    } rows[] = {
        {"operands and places", "q\n1 .5 rg /F 9 Tf", "[q][1 .5 rg][/F 9 Tf]", ""},
        {"an array is operands with brackets", "[<41> -3 (b\\))] TJ", "[[<41> -3 (b\\))] TJ]", ""},
        {"a comment is none", "1 % 2 re\n3 m", "[1 % 2 re\n3 m]", ""},
        {"operands without an operator", "q 1 2", "[q]", ""},
        {"an operator longer than any", "1 beginning q", "[1 beginning][q]", ""},
        {"nothing", " \n", "", ""},
        {"a string that does not end", "q (x) Tj (y", "[q][(x) Tj]", "a string that does not end"},
        {"hexadecimal digits that do not end", "q <41", "[q]", "a string that does not end"},
        {"an inline picture", "q BI /W 1 ID Q Q Q EI Q", "[q]", "an inline picture"},
        {"more restored than saved", "q Q Q q", "[q][Q]", "a state restored that was not saved"},
    };
    for (const auto& row : rows) {
        ContentReader reader(row.content);
        std::string operations;
        while (const auto operation = reader.next())
            operations += "[" + row.content.substr(operation->begin, operation->end - operation->begin) + "]";
        EXPECT_EQ(operations, row.operations) << row.why;
        EXPECT_EQ(reader.problem(), row.problem) << row.why;
        EXPECT_FALSE(reader.next()) << row.why << ": nothing comes after the end";
    }
}

TEST(ContentReader, StatesAreNotSavedForEver) {
    std::string content;
    for (int i = 0; i < 1'000'000; ++i) content += "q ";
    ContentReader reader(content);
    StateStack<int> states;
    std::size_t count = 0;
    while (const auto operation = reader.next()) count += states.follow(*operation);
    EXPECT_LT(count, 100'000u);
    EXPECT_EQ(reader.problem(), "too many saved states");
}

TEST(ContentReader, OperandsAreWhatTheOperatorTakesOrNothing) {
    const struct {
        const char* why;
        std::string content;
        std::optional<std::array<double, 2>> numbers;
    } rows[] = {
        {"plain", "1 -2.5 m", {{1, -2.5}}},
        {"signs and points", "+.5 -.0 m", {{.5, 0}}},
        {"too few", "1 m", {}},
        {"too many", "1 2 3 m", {}},
        {"a name among them", "/A 2 m", {}},
        {"a number that does not fit", "1e999 2 m", {{0, 2}}},
    };
    for (const auto& row : rows) {
        ContentReader reader(row.content);
        const auto operation = reader.next();
        ASSERT_TRUE(operation) << row.why;
        EXPECT_EQ(operation->numbers<2>(), row.numbers) << row.why;
    }
}

TEST(Rewriter, EditsNeverOverlap) {
    struct Edit {
        std::size_t begin, end;
        const char* text;
    };
    const struct {
        const char* why;
        std::vector<Edit> edits;
        std::optional<std::string> result;
    } rows[] = {
        {"in any order", {{6, 9, "x"}, {0, 2, ""}}, "2345x9"},
        {"side by side", {{2, 4, "a"}, {4, 6, "b"}}, "01ab6789"},
        {"inserted before what is cut there", {{3, 5, ""}, {3, 3, "a"}, {3, 3, "b"}}, "012ab56789"},
        {"at the end", {{10, 10, "!"}}, "0123456789!"},
        {"one within the other", {{2, 8, ""}, {4, 5, ""}}, {}},
        {"by one", {{2, 5, ""}, {4, 6, ""}}, {}},
        {"twice the same", {{2, 5, ""}, {2, 5, ""}}, {}},
        {"inserted within what is cut", {{2, 5, ""}, {3, 3, "x"}}, {}},
        {"past the end", {{9, 11, ""}}, {}},
        {"backwards", {{5, 4, ""}}, {}},
    };
    for (const auto& row : rows) {
        Rewriter rewriter;
        for (const auto& edit : row.edits) rewriter.replace(edit.begin, edit.end, edit.text);
        EXPECT_EQ(rewriter.rewritten("0123456789"), row.result) << row.why;
    }
}

}   // namespace
}   // namespace ostrel::pdf
