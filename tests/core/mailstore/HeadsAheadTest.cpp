#include "core/mailstore/HeadsAhead.h"
#include "platform/Files.h"
#include "tests/platform/Surroundings.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

// More files than are read ahead at a time; every seventh is no message.
constexpr int fileCount = 700, damaged = 7;

class HeadsAheadTest : public testing::Test {
protected:
    HeadsAheadTest() {
        for (int i = 0; i < fileCount; ++i) {
            const std::string folder = "Messages/" + std::to_string(i / 100);
            files::createFolders(folder_ / folder);
            const std::string subject = "Subject: " + std::string(static_cast<std::size_t>(i), 'x');
            files::writeAtomically(folder_ / (folder + "/" + std::to_string(1000 + i) + ".emlx"),
                                   bytesOf(i % damaged == 0 ? "" : subject + "\n\nbody"));
        }
    }
    ScratchFolder folder_;
};

TEST_F(HeadsAheadTest, EachHeadComesInOrderWithItsOwnBlock) {
    HeadsAhead heads(folder_.path(), nullptr);
    int i = 0;
    for (const HeadsAhead::Head* head = heads.next(); head; head = heads.next(), ++i) {
        ASSERT_EQ(head->file.filename(), std::to_string(1000 + i) + ".emlx");
        ASSERT_EQ(head->isReadable, i % damaged != 0) << i;
        ASSERT_EQ(charsOf(heads.headerBlock()),
                  head->isReadable ? "Subject: " + std::string(static_cast<std::size_t>(i), 'x') : "");
        ASSERT_EQ(head->modified != Instant(), head->isReadable);
    }
    EXPECT_EQ(i, fileCount);
    EXPECT_EQ(heads.next(), nullptr) << "the end stays the end";
}

TEST_F(HeadsAheadTest, EndsAtOnceWhenNobodyTakesTheRest) {
    for (const int taken : {0, 1, 100}) {
        HeadsAhead heads(folder_.path(), nullptr);
        for (int i = 0; i < taken; ++i) ASSERT_TRUE(heads.next());
    }
}

TEST_F(HeadsAheadTest, TellsThatTheFolderCannotBeListed) {
    HeadsAhead heads(folder_ / "none", nullptr);
    EXPECT_THROW(heads.next(), FileError);
}

}   // namespace
}   // namespace ostrel
