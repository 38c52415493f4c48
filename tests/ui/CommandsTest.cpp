#include "tests/ui/ModelFixture.h"
#include "ui/Commands.h"

#include <functional>
#include <map>
#include <string>

namespace ostrel {
namespace {

class NoWindows : public Windows {
public:
    void showMain() override { ++shown; }
    void showHelp() override {}
    void showSettings() override {}
    void showShortcuts() override {}
    void showAbout() override {}
    void offerFilter(const MessageFilter& cleared) override { offered = cleared.subject; }
    void closeActive() override {}
    void quit() override {}
    int shown = 0;
    std::string offered;
};

class CommandsTest : public ModelFixture {
protected:
    CommandsTest() : application_(Gtk::Application::create("io.example.commands")) {
        application_->register_application();
        commands_ = std::make_unique<Commands>(*application_, *model_, windows_);
    }
    // Of the actions that are not always enabled, those that are now.
    std::string enabled() const {
        std::string names;
        for (const char* name : {"use-default-folder", "export", "show-file", "clear-filters"})
            if (application_->get_action_enabled(name)) names += std::string(names.empty() ? "" : " ") + name;
        return names;
    }

    NoWindows windows_;
    Glib::RefPtr<Gtk::Application> application_;
    std::unique_ptr<Commands> commands_;
};

TEST_F(CommandsTest, areEnabledAsTheModelSays) {
    EXPECT_EQ(enabled(), "use-default-folder") << "nothing read yet";
    load();
    const auto filter = [&](const std::function<void(MessageFilter&)>& edit) {
        MessageFilter changed = model_->filter.get();
        edit(changed);
        model_->filter.set(changed);
        tasks_.all();
    };
    const struct {
        const char* why;
        std::function<void()> change;
        std::string enabled;
    } steps[] = {
        {"a list", [] {}, "use-default-folder export"},
        {"a message", [&] { model_->selection.set(first_); }, "use-default-folder export show-file"},
        {"a filter that leaves it", [&] { filter([](MessageFilter& f) { f.subject = "first"; }); },
         "use-default-folder export show-file clear-filters"},
        {"a filter that leaves none", [&] { filter([](MessageFilter& f) { f.subject = "nobody wrote this"; }); },
         "use-default-folder clear-filters"},
        {"cleared", [&] { application_->activate_action("clear-filters"); }, "use-default-folder export"},
        {"no mailbox is no filter", [&] { model_->setAllMailboxes(false); }, "use-default-folder"},
        {"all again", [&] { model_->setAllMailboxes(true); }, "use-default-folder export"},
        {"reading again", [&] { application_->activate_action("reload"); }, "use-default-folder"},
        {"read", [&] { tasks_.all(); }, "use-default-folder export"},
        {"asking where to",
         [&] {
             model_->openExport();
             model_->chooseDestinationAndExport();
         },
         "use-default-folder export"},
        {"exporting", [&] { desktop_.answer(settingsFolder_.path()); }, "use-default-folder"},
        {"exported", [&] { tasks_.all(); }, "use-default-folder export"},
        {"Mail's own folder", [&] { model_->settings.set({}); }, "export"},
    };
    for (const auto& step : steps) {
        step.change();
        EXPECT_EQ(enabled(), step.enabled) << step.why;
    }
}

TEST_F(CommandsTest, bringTheWindowThatTheyShowSomethingIn) {
    load();
    for (const char* name : {"export", "choose-folder", "show-welcome"}) {
        const int before = windows_.shown;
        application_->activate_action(name);
        EXPECT_EQ(windows_.shown, before + 1) << name;
    }
    EXPECT_EQ(model_->sheet.get(), Sheet::welcome);

    MessageFilter filter;
    filter.subject = "first";
    model_->filter.set(filter);
    application_->activate_action("clear-filters");
    EXPECT_EQ(windows_.offered, "first") << "to have it back";
}

// Two commands on one key, or a letter that two entries of a menu share, leave one of them out of reach.
TEST_F(CommandsTest, shareNoKeyAndNoLetter) {
    std::map<std::string, std::string> owner;
    for (const auto& action : application_->list_action_descriptions())
        for (const auto& key : application_->get_accels_for_action(action)) {
            EXPECT_EQ(owner.count(key), 0u) << key << " of " << action;
            owner[key] = action;
        }
    const std::function<void(const Glib::RefPtr<Gio::MenuModel>&, std::string&)> collect =
        [&](const Glib::RefPtr<Gio::MenuModel>& menu, std::string& letters) {
            for (int i = 0; i < menu->get_n_items(); ++i) {
                char* label = nullptr;
                const bool isItem = !menu->get_item_link(i, Gio::MenuModel::Link::SECTION);
                if (isItem && g_menu_model_get_item_attribute(menu->gobj(), i, "label", "s", &label)) {
                    const std::string text = label;
                    g_free(label);
                    const auto mark = text.find('_');
                    ASSERT_NE(mark, std::string::npos) << text;
                    const char letter = static_cast<char>(g_ascii_tolower(text[mark + 1]));
                    EXPECT_EQ(letters.find(letter), std::string::npos) << text;
                    letters += letter;
                }
                if (const auto section = menu->get_item_link(i, Gio::MenuModel::Link::SECTION))
                    collect(section, letters);
            }
        };
    std::string letters;
    collect(commands_->menu(), letters);
    EXPECT_EQ(letters.size(), 14u) << "every command is in the menu";
}

}   // namespace
}   // namespace ostrel
