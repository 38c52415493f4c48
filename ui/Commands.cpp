#include "ui/Commands.h"

#include "platform/Translation.h"
#include "ui/widgets/Mnemonics.h"

#include <functional>
#include <utility>
#include <vector>

#include <giomm/simpleaction.h>

namespace ostrel {
namespace {

using i18n::tr;

struct Command {
    const char* action;
    std::vector<Glib::ustring> keys;
    std::function<void()> run;
    std::function<bool()> isEnabled = {};   // empty: always
};

std::vector<Command> commands(AppModel& model, Windows& windows) {
    return {
        {"about", {}, [&windows] { windows.showAbout(); }},
        {"settings", {"<Primary>comma"}, [&windows] { windows.showSettings(); }},
        {"quit", {"<Primary>q"}, [&windows] { windows.quit(); }},
        {"choose-folder",
         {"<Primary>o"},
         [&model, &windows] {
             windows.showMain();
             model.chooseFolder();
         }},
        {"use-default-folder",
         {},
         [&model] { model.useDefaultFolder(); },
         [&model] { return model.settings.get().mailFolder.has_value(); }},
        {"reload", {"<Primary>r"}, [&model] { model.reload(); }},
        {"export",
         {"<Primary><Shift>e"},
         [&model, &windows] {
             windows.showMain();
             model.openExport();
         },
         [&model] { return model.canExport(); }},
        {"update",
         {},
         [&model, &windows] {
             windows.showMain();
             model.openUpdate();
         },
         [&model] { return model.canExport(); }},
        {"verify",
         {},
         [&model, &windows] {
             windows.showMain();
             model.chooseExportAndVerify();
         },
         [&model] { return !model.isExporting(); }},
        {"close-window", {"<Primary>w"}, [&windows] { windows.closeActive(); }},
        {"show-file", {}, [&model] { model.showInFinder(); }, [&model] { return model.selection.get().has_value(); }},
        {"clear-filters",
         {"<Primary><Shift>l"},
         [&model, &windows] {
             const MessageFilter cleared = model.filter.get();
             model.clearFilters();
             windows.offerFilter(cleared);
         },
         [&model] { return model.filter.get().hasCriteria(); }},
        // The keys of every program on this desktop. "?" stands behind Shift on many keyboards and alone on some.
        {"help", {"F1"}, [&windows] { windows.showHelp(); }},
        {"shortcuts", {"<Primary>question", "<Primary><Shift>question"}, [&windows] { windows.showShortcuts(); }},
        {"show-welcome",
         {},
         [&model, &windows] {
             windows.showMain();
             model.sheet.set(Sheet::welcome);
         }},
    };
}

struct Item {
    std::string text;
    const char* action;
};
struct Section {
    std::string title;   // may be empty
    std::vector<Item> items;
};

Glib::RefPtr<Gio::Menu> makeMenu() {
    const Section sections[] = {
        {tr("File"),
         {{tr("Choose Mail Folder…"), "choose-folder"},
          {tr("Use Apple Mail’s Folder"), "use-default-folder"},
          {tr("Reload Mailboxes"), "reload"},
          {tr("Export to PDF…"), "export"},
          {tr("Update an Export…"), "update"},
          {tr("Verify an Export…"), "verify"}}},
        {tr("Message"), {{tr("Show Mail’s File in Finder"), "show-file"}, {tr("Clear Filters"), "clear-filters"}}},
        {"",
         {{tr("Settings…"), "settings"},
          {tr("Keyboard Shortcuts"), "shortcuts"},
          {tr("Ostrel Help"), "help"},
          {tr("About Ostrel"), "about"}}},
        {"", {{tr("Close Window"), "close-window"}, {tr("Quit Ostrel"), "quit"}}},
    };
    const auto menu = Gio::Menu::create();
    Mnemonics mnemonics;
    for (const auto& [title, items] : sections) {
        const auto section = Gio::Menu::create();
        for (const auto& [text, action] : items) section->append(mnemonics.mark(text), Glib::ustring("app.") + action);
        menu->append_section(title, section);
    }
    return menu;
}

}   // namespace

Commands::Commands(Gtk::Application& application, AppModel& model, Windows& windows) : menu_(makeMenu()) {
    for (Command& command : commands(model, windows)) {
        const auto action = application.add_action(command.action, std::move(command.run));
        application.set_accels_for_action(Glib::ustring("app.") + command.action, command.keys);
        if (!command.isEnabled) continue;
        const auto update = [action, isEnabled = std::move(command.isEnabled)] { action->set_enabled(isEnabled()); };
        update();
        subscriptions_.push_back(model.settings.observe(update));
        subscriptions_.push_back(model.state.observe(update));
        subscriptions_.push_back(model.messages.observe(update));
        subscriptions_.push_back(model.exportPhase.observe(update));
        subscriptions_.push_back(model.selection.observe(update));
        subscriptions_.push_back(model.filter.observe(update));
    }
}

}   // namespace ostrel
