#include "ui/widgets/ThreeColumns.h"

#include <string>

#include <glibmm/main.h>
#include <gtest/gtest.h>
#include <gtkmm/box.h>

namespace ostrel {
namespace {

class ThreeColumnsTest : public testing::Test {
protected:
    // "mailboxes messages page" once the window is so wide.
    std::string shownAt(int width) {
        int least = 0, natural = 0, ignored = 0, alsoIgnored = 0;
        columns_.measure(Gtk::Orientation::HORIZONTAL, -1, least, natural, ignored, alsoIgnored);
        EXPECT_LE(least, width) << "the window could not get there";
        columns_.size_allocate(Gtk::Allocation(0, 0, width, 400), -1);
        const auto context = Glib::MainContext::get_default();
        while (context->iteration(false)) {
        }
        return shown();
    }
    std::string shown() const {
        return std::string(mailboxes_.get_visible() ? "mailboxes " : "") +
               (messages_.get_visible() ? "messages " : "") + (page_.get_visible() ? "page" : "");
    }

    Gtk::Box mailboxes_, messages_, page_;
    ThreeColumns columns_{mailboxes_, messages_, page_};
};

TEST_F(ThreeColumnsTest, foldWhereThereIsNoRoomForAll) {
    EXPECT_EQ(shownAt(1200), "mailboxes messages page");
    EXPECT_EQ(shownAt(700), "messages page");
    columns_.toggleMailboxes();
    EXPECT_EQ(shown(), "mailboxes messages ") << "asked for, they take the place of the page";
    columns_.toggleMailboxes();
    EXPECT_EQ(shown(), "messages page");
    EXPECT_EQ(shownAt(1200), "mailboxes messages page");
    columns_.toggleMailboxes();
    EXPECT_EQ(shown(), "messages page");
    EXPECT_EQ(shownAt(700), "messages page");
    EXPECT_EQ(shownAt(1200), "messages page") << "hidden by the user, they stay hidden";
}

TEST_F(ThreeColumnsTest, comeOneAfterTheOtherWhereThereIsRoomForOne) {
    using enum ThreeColumns::Column;
    EXPECT_EQ(shownAt(360), "messages ");
    columns_.showAlone(page);
    EXPECT_EQ(shown(), "page");
    columns_.toggleMailboxes();
    EXPECT_EQ(shown(), "mailboxes ");
    columns_.toggleMailboxes();
    EXPECT_EQ(shown(), "messages ");
    columns_.showAlone(page);
    EXPECT_EQ(shownAt(700), "messages page");
    columns_.showAlone(mailboxes);
    EXPECT_EQ(shown(), "messages page") << "there is room for more";
    EXPECT_EQ(shownAt(360), "messages ");
    EXPECT_EQ(shownAt(1200), "mailboxes messages page");
}

TEST_F(ThreeColumnsTest, shareWhatAWideWindowHasMore) {
    shownAt(1240);
    const int usual = messages_.get_width();
    EXPECT_GT(usual, 500);
    shownAt(2240);
    EXPECT_NEAR(messages_.get_width(), usual + 500, 1);
    shownAt(1240);
    EXPECT_EQ(messages_.get_width(), usual);
}

}   // namespace
}   // namespace ostrel
