#include "core/page/MessageHTML.h"
#include "core/page/SimplerPage.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

std::string repeated(std::string_view part, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) all += part;
    return all;
}

TEST(SimplerPage, BreaksWordsThatNeverEndAndNoOthers) {
    const std::string accented = "e\u0301";
    const struct {
        const char* why;
        std::string words;
        std::size_t maxLine;   // in bytes
        bool isKept;
    } cases[] = {
        {"a word of a megabyte", repeated("x", 1'000'000), 1200, false},
        {"marks without end on one letter", "e" + repeated("\u0301", 100'000), 2400, false},
        {"an accent stays with its letter", repeated(accented, 5'000), 3600, false},
        {"a long line of words", repeated("word ", 5'000) + "end", 25'003, true},
        {"the longest word that stays whole", repeated("x", 1'000), 1'000, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        MailMessage message;
        message.textBody = c.words;
        const auto page = MessageHTML::simpler(MessageHTML::page(message, "", "", std::nullopt, {}),
                                               MessageHTML::Simplicity::textOnly, "Note");
        ASSERT_TRUE(page);
        const std::string begin = "<div class=\"plain\">";
        const auto at = page->html.find(begin) + begin.size();
        std::string words = page->html.substr(at, page->html.find("</div>", at) - at);
        std::size_t line = 0, maxLine = 0;
        for (const char byte : words) maxLine = std::max(maxLine, line = byte == '\n' ? 0 : line + 1);
        EXPECT_LE(maxLine, c.maxLine);
        while (words.ends_with('\n')) words.pop_back();   // the last line ends
        EXPECT_EQ(words.find('\n') == std::string::npos, c.isKept);
        if (c.words.starts_with(accented + accented)) {
            EXPECT_EQ(words.find("\n\u0301"), std::string::npos);
        }
        std::erase(words, '\n');
        EXPECT_EQ(words, c.words);
    }
}

}   // namespace
}   // namespace ostrel
