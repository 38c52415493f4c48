#include "ui/list/MessageTableModel.h"

#include <numeric>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

std::shared_ptr<const MailIndex> indexOf(std::size_t count) {
    auto index = std::make_shared<MailIndex>();
    for (std::size_t i = 0; i < count; ++i)
        index->messages.emplace_back().url = std::filesystem::path("/m/" + std::to_string(i));
    return index;
}

class MessageTableModelTest : public testing::Test {
protected:
    MessageTableModelTest() {
        g_signal_connect_swapped(list(), "items-changed",
                                 G_CALLBACK(+[](MessageTableModelTest* self, guint at, guint removed, guint added) {
                                     self->said += "items " + std::to_string(at) + "-" + std::to_string(removed) + "+" +
                                                   std::to_string(added) + " selected " + self->selected() + "\n";
                                 }),
                                 this);
        g_signal_connect_swapped(list(), "selection-changed",
                                 G_CALLBACK(+[](MessageTableModelTest* self, guint at, guint count) {
                                     self->said += "selection " + std::to_string(at) + "+" + std::to_string(count) +
                                                   " is " + self->selected() + "\n";
                                 }),
                                 this);
    }
    ~MessageTableModelTest() override { g_signal_handlers_disconnect_by_data(list(), this); }

    GListModel* list() const { return G_LIST_MODEL(model_.object()); }
    GObject* item(guint row) const { return G_OBJECT(g_list_model_get_item(list(), row)); }
    // The rows that a view would show as selected.
    std::string selected() const {
        std::string rows;
        for (guint row = 0; row < g_list_model_get_n_items(list()); ++row)
            if (gtk_selection_model_is_selected(model_.object(), row)) rows += std::to_string(row);
        return rows.empty() ? "none" : rows;
    }

    MessageTableModel model_;
    std::string said;
    const std::shared_ptr<const MailIndex> index_ = indexOf(5);
};

TEST_F(MessageTableModelTest, rowsStayAndTheSelectionMovesWithItsMessage) {
    model_.onRefresh = [this] { said += "other messages\n"; };
    model_.setMessages(MessageList(index_, {0, 1, 2, 3, 4}), "/m/1");
    model_.setMessages(MessageList(index_, {4, 3, 2, 1, 0}), "/m/1");
    model_.setMessages(MessageList(index_, {4, 3}), "/m/1");
    model_.setMessages(MessageList(index_, {1, 3, 0}), "/m/0");
    model_.setMessages(MessageList(), std::nullopt);
    EXPECT_EQ(said,
              "other messages\nitems 0-0+5 selected 1\nselection 1+1 is 1\n"
              "other messages\nselection 1+3 is 3\n"
              "other messages\nitems 2-3+0 selected none\n"
              "other messages\nitems 2-0+1 selected 2\nselection 2+1 is 2\n"
              "other messages\nselection 2+1 is none\n");
    EXPECT_EQ(g_list_model_get_n_items(list()), 3u) << "kept for the next list";
    EXPECT_FALSE(gtk_selection_model_select_item(model_.object(), 0, TRUE)) << "but there is nothing in them";
    said.clear();
    model_.setMessages(MessageList(index_, {2, 3, 4, 0}), "/m/3");
    EXPECT_EQ(said, "other messages\nitems 3-0+1 selected 1\nselection 1+1 is 1\n");
}

// What comes after the first rows comes when they are painted, or with the selection.
TEST_F(MessageTableModelTest, aLongListFollowsAShortOneInTwoSteps) {
    constexpr std::size_t count = MessageTableModel::firstRows * 3;
    std::vector<std::uint32_t> rows(count);
    std::iota(rows.begin(), rows.end(), 0u);
    const MessageList few(index_, {0, 1}), many(indexOf(count), rows);

    model_.setMessages(few, std::nullopt);
    model_.setMessages(many, std::nullopt);
    EXPECT_FALSE(model_.isAllShown());
    model_.showAll();
    EXPECT_TRUE(model_.isAllShown());
    model_.setMessages(few, std::nullopt);
    EXPECT_EQ(said,
              "items 0-0+2 selected none\nitems 2-0+58 selected none\nitems 60-0+120 selected none\n"
              "items 2-178+0 selected none\n");
    said.clear();
    model_.setMessages(many, "/m/150");
    EXPECT_EQ(said, "items 2-0+58 selected none\nitems 60-0+120 selected 150\nselection 150+1 is 150\n");
}

TEST_F(MessageTableModelTest, theViewAsksAndTheOwnerDecides) {
    model_.setMessages(MessageList(index_, {4, 3, 2}), std::nullopt);
    said.clear();
    std::vector<std::size_t> asked;
    model_.onSelect = [&](std::size_t row) { asked.push_back(row); };
    EXPECT_TRUE(gtk_selection_model_select_item(model_.object(), 2, TRUE));
    EXPECT_FALSE(gtk_selection_model_select_item(model_.object(), 3, TRUE)) << "no such row";
    EXPECT_EQ(asked, std::vector<std::size_t>{2});
    EXPECT_EQ(said, "") << "nothing happened yet";
    model_.setSelection("/m/2");
    model_.setSelection("/m/2");
    model_.setSelection("/m/4");
    EXPECT_TRUE(gtk_selection_model_select_item(model_.object(), 0, FALSE)) << "it is selected already";
    EXPECT_FALSE(gtk_selection_model_unselect_item(model_.object(), 0)) << "Control and click would undo itself";
    EXPECT_EQ(asked.size(), 1u);
    model_.setSelection("/m/0");
    EXPECT_EQ(said, "selection 2+1 is 2\nselection 0+3 is 0\nselection 0+1 is none\n") << "the last is not in the list";
}

TEST_F(MessageTableModelTest, aRowKeepsItsObjectWhateverItShows) {
    model_.setMessages(MessageList(index_, {0, 1, 2, 3, 4}), std::nullopt);
    std::vector<GObject*> held;
    for (guint row = 0; row < 5; ++row) held.push_back(item(row));
    EXPECT_EQ(std::set<GObject*>(held.begin(), held.end()).size(), 5u);
    const auto sameAsHeld = [&](guint row) {
        GObject* again = item(row);
        g_object_unref(again);
        return again == held[row];
    };
    model_.setMessages(MessageList(indexOf(5), {4, 3, 2, 1, 0}), std::nullopt);
    for (guint row = 0; row < 5; ++row) EXPECT_TRUE(sameAsHeld(row)) << row;
    EXPECT_EQ(g_list_model_get_item(list(), 5), nullptr);
    model_.setMessages(MessageList(index_, {0, 1}), std::nullopt);
    model_.setMessages(MessageList(index_, {0, 1, 2}), std::nullopt);
    EXPECT_TRUE(sameAsHeld(1));
    EXPECT_FALSE(sameAsHeld(2)) << "it went, and another came in its place";
    for (GObject* object : held) g_object_unref(object);
}

TEST_F(MessageTableModelTest, itsObjectOutlivesItEmpty) {
    auto* gone = new MessageTableModel;
    gone->setMessages(MessageList(index_, {0, 1}), "/m/0");
    auto* object = G_LIST_MODEL(g_object_ref(gone->object()));
    auto* row = static_cast<GObject*>(g_list_model_get_item(object, 0));
    delete gone;
    EXPECT_EQ(g_list_model_get_n_items(object), 0u);
    EXPECT_FALSE(gtk_selection_model_select_item(GTK_SELECTION_MODEL(object), 0, TRUE));
    g_object_unref(object);
    g_object_unref(row);
}

}   // namespace
}   // namespace ostrel
