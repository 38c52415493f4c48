#pragma once

#include "app/AppModel.h"

#include <giomm/menu.h>
#include <gtkmm/application.h>

// What the menus, the shortcuts and the buttons do, in one table: an action of the application each, enabled as the
// model says. Views name the action ("app.export") and know nothing of what it does.
namespace ostrel {

// What commands ask of the application's windows.
class Windows {
public:
    virtual ~Windows() = default;
    virtual void showMain() = 0;   // opens it or brings it forward
    virtual void showHelp() = 0;
    virtual void showSettings() = 0;
    virtual void showShortcuts() = 0;
    virtual void showAbout() = 0;
    virtual void offerFilter(const MessageFilter& cleared) = 0;   // to have it back
    virtual void closeActive() = 0;
    virtual void quit() = 0;   // asks first while an export runs
};

// Actions: about, settings, quit, choose-folder, use-default-folder, reload, export, update, verify, show-file,
// clear-filters, close-window, help, shortcuts, show-welcome. Keys and the menu come with them.
class Commands {
public:
    Commands(Gtk::Application& application, AppModel& model, Windows& windows);
    // All of them, for the main window's one menu.
    const Glib::RefPtr<Gio::Menu>& menu() const { return menu_; }

private:
    Glib::RefPtr<Gio::Menu> menu_;
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
