#include "ui/widgets/Symbols.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(Symbols, areAllDrawnAndPartOfTheProgram) {
    const std::filesystem::path icons = OSTREL_ICONS;
    std::ifstream list(icons / "icons.gresource.xml");
    const std::string listed{std::istreambuf_iterator<char>(list), {}};
    for (const char* icon : symbols::icons()) {
        const std::string drawing = std::string(icon) + ".svg";
        EXPECT_TRUE(std::filesystem::exists(icons / "symbols" / drawing)) << drawing;
        EXPECT_NE(listed.find("alias=\"" + drawing + '"'), std::string::npos) << drawing;
    }
}

TEST(Symbols, ofMailboxesGoByTheirNames) {
    EXPECT_EQ(symbols::forMailbox("SENT Messages"), "paperplane");
    EXPECT_EQ(symbols::forMailbox("Deleted Messages"), "trash");
    EXPECT_EQ(symbols::forMailbox("Notes"), "folder");
    EXPECT_EQ(symbols::forMailbox(""), "folder");
}

}   // namespace
}   // namespace ostrel
