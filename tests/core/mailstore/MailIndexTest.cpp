#include "core/mailstore/MailIndex.h"

#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(StoredPathTest, IsTheSameBytesHoweverItWasMade) {
    const struct {
        const char* why;
        const char* folder;
        const char* name;
    } rows[] = {
        {"a file", "/mail/INBOX.mbox/Messages/", "1.emlx"},
        {"of the top folder", "/", "1.emlx"},
        {"without a folder", "", "1.emlx"},
        {"a folder", "/mail/", ""},
        {"slashes in a row", "/mail//", "1.emlx"},
        {"no UTF-8", "/m\xFF/", "\xFE.emlx"},
        {"nothing", "", ""},
    };
    for (const auto& row : rows) {
        const StoredPath whole(std::string(row.folder) + row.name);
        EXPECT_EQ(whole.native(), std::string(row.folder) + row.name) << row.why;
        EXPECT_EQ(whole.filename().native(), row.name) << row.why;
        EXPECT_TRUE(whole == StoredPath(std::string(row.folder), row.name)) << row.why;
    }
}

TEST(TextListTest, GivesBackEveryText) {
    using Texts = std::vector<std::string>;
    const struct {
        const char* why;
        Texts texts;
    } rows[] = {
        {"none", {}},
        {"an empty one is one", {""}},
        {"of any bytes", {"a@x", "", std::string("\0\n\xFF", 3), std::string(70'000, 'x'), "a@x", ""}},
    };
    for (const auto& row : rows) {
        const TextList list(row.texts);
        const auto given = list.texts();
        EXPECT_EQ(Texts(given.begin(), given.end()), row.texts) << row.why;
        EXPECT_EQ(list == TextList(), row.texts.empty()) << row.why;
    }
    EXPECT_FALSE(TextList(Texts{"a", "b"}) == TextList(Texts{"ab"})) << "where one ends tells two lists apart";
}

}   // namespace
}   // namespace ostrel
