#include "tests/ui/ModelFixture.h"
#include "ui/MailboxSidebar.h"

#include <map>
#include <string>

#include <gtkmm/checkbutton.h>

namespace ostrel {
namespace {

class MailboxSidebarTest : public ModelFixture {
protected:
    // The check boxes by what is spoken of them.
    std::map<std::string, Gtk::CheckButton*> checks() {
        std::map<std::string, Gtk::CheckButton*> found;
        collect(sidebar_, found);
        return found;
    }
    // "All Mailboxes on, INBOX, 1 messages off"
    std::string shown() {
        std::string line;
        for (const auto& [label, check] : checks())
            line += (line.empty() ? "" : ", ") + label + (check->get_active() ? " on" : " off");
        return line;
    }
    static void collect(Gtk::Widget& widget, std::map<std::string, Gtk::CheckButton*>& found) {
        for (Gtk::Widget* child = widget.get_first_child(); child != nullptr; child = child->get_next_sibling()) {
            auto* check = dynamic_cast<Gtk::CheckButton*>(child);
            if (check != nullptr) found[spoken(*check)] = check;
            collect(*child, found);
        }
    }
    static std::string spoken(Gtk::CheckButton& check) {
        for (const char* label : {"All Mailboxes", "INBOX, 1 messages", "Work, 2 messages", "Work, 1 messages"}) {
            char* other =
                gtk_test_accessible_check_property(GTK_ACCESSIBLE(check.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL, label);
            g_free(other);
            if (other == nullptr) return label;
        }
        return "something else";
    }

    MailboxSidebar sidebar_{*model_};
};

TEST_F(MailboxSidebarTest, checksFollowTheFilterAndChangeIt) {
    load();
    EXPECT_EQ(shown(), "All Mailboxes on, INBOX, 1 messages on, Work, 2 messages on");
    checks().at("Work, 2 messages")->set_active(false);
    EXPECT_EQ(shown(), "All Mailboxes off, INBOX, 1 messages on, Work, 2 messages off");
    EXPECT_EQ(model_->messages.get().size(), 1u);
    checks().at("Work, 2 messages")->set_active(true);
    EXPECT_EQ(shown(), "All Mailboxes on, INBOX, 1 messages on, Work, 2 messages on") << "each of them is all of them";
    checks().at("All Mailboxes")->set_active(false);
    EXPECT_EQ(shown(), "All Mailboxes off, INBOX, 1 messages off, Work, 2 messages off");
    EXPECT_TRUE(model_->messages.get().empty());
    checks().at("INBOX, 1 messages")->set_active(true);
    EXPECT_EQ(model_->messages.get().size(), 1u);
}

TEST_F(MailboxSidebarTest, oneMailboxAloneIsAllOfThemWhereThereIsNoOther) {
    load();
    model_->selection.set(first_);
    model_->showOnlyMailbox("INBOX.mbox");
    EXPECT_EQ(shown(), "All Mailboxes off, INBOX, 1 messages on, Work, 2 messages off");
    EXPECT_EQ(model_->selection.get(), first_) << "it is still in the list";
    model_->showOnlyMailbox("Work.mbox");
    EXPECT_EQ(shown(), "All Mailboxes off, INBOX, 1 messages off, Work, 2 messages on");
    mail_.remove("INBOX");
    model_->reload();
    tasks_.all();
    model_->showOnlyMailbox("Work.mbox");
    EXPECT_EQ(shown(), "All Mailboxes on, Work, 2 messages on");
}

TEST_F(MailboxSidebarTest, aReloadKeepsTheChoiceAndWhereNothingChangedTheWidgets) {
    load();
    checks().at("INBOX, 1 messages")->set_active(false);
    const auto before = checks();
    model_->reload();
    tasks_.all();
    EXPECT_EQ(checks(), before) << "a screen reader stands where it stood";
    std::filesystem::remove(mail_.path() / "Work.mbox" / "Messages" / "3.emlx");
    model_->reload();
    tasks_.all();
    EXPECT_EQ(shown(), "All Mailboxes off, INBOX, 1 messages off, Work, 1 messages on");
    mail_.remove("INBOX");
    model_->reload();
    tasks_.all();
    EXPECT_EQ(shown(), "All Mailboxes off, Work, 1 messages on") << "a choice stays one when it becomes all there is";
}

}   // namespace
}   // namespace ostrel
