#pragma once

#include "app/AppModel.h"
#include "render/loop/MainLoop.h"
#include "render/loop/MainLoopTasks.h"
#include "ui/Commands.h"
#include "ui/DesktopServices.h"
#include "ui/HelpWindow.h"
#include "ui/MainWindow.h"
#include "ui/SettingsWindow.h"

#include <memory>
#include <vector>

#include <gtkmm/application.h>
#include <gtkmm/shortcutswindow.h>

namespace ostrel {

// The one running application: its model, its commands and its windows. It goes on when the last window is closed;
// starting the program again brings the window back.
class Application : public Gtk::Application, public Windows {
public:
    Application();
    ~Application() override;

    // Ends the application without asking, after the message that an export is printing.
    void end();

protected:
    void on_startup() override;
    void on_activate() override;
    void on_window_added(Gtk::Window* window) override;
    void on_window_removed(Gtk::Window* window) override;

private:
    void showMain() override;
    void showHelp() override;
    void showSettings() override;
    void showShortcuts() override;
    void showAbout() override;
    void offerFilter(const MessageFilter& cleared) override;
    void closeActive() override;
    void quit() override;

    void addStyle();
    void followActivation();
    void exportChanged();

    std::unique_ptr<MainLoopTasks> tasks_;
    std::unique_ptr<DesktopServices> desktop_;
    std::unique_ptr<AppModel> model_;
    std::unique_ptr<Commands> commands_;
    std::unique_ptr<MainWindow> main_;
    std::unique_ptr<HelpWindow> help_;
    std::unique_ptr<SettingsWindow> settings_;
    std::unique_ptr<Gtk::ShortcutsWindow> shortcuts_;
    bool hasStarted_ = false, isActive_ = false, isAsking_ = false, isEnding_ = false, wasExporting_ = false;
    mainLoop::Timer inactive_;
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
