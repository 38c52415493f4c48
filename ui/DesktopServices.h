#pragma once

#include "app/Desktop.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <glibmm/miscutils.h>
#include <gtkmm/application.h>
#include <gtkmm/filechoosernative.h>

namespace ostrel {

// What the desktop around the windows does for them. Where a service is missing, the user is told so and nothing waits.
// One for the application.
class DesktopServices : public Desktop {
public:
    // activeWindow: the one that questions and alerts stand in front of; may be null.
    DesktopServices(Gtk::Application& application, std::function<Gtk::Window*()> activeWindow);
    ~DesktopServices() override;

    void chooseFolder(const FolderRequest& request,
                      std::function<void(std::optional<std::filesystem::path>)> chosen) override;
    void reveal(const std::filesystem::path& path) override;
    void open(const std::filesystem::path& file) override;
    std::shared_ptr<void> keepAwake(const std::string& reason) override;

    void notify(const std::string& title, const std::string& text);
    // Opens a web or mail address in the user's default program.
    static void openLink(const std::string& url);
    // Opens where the desktop lets its user allow access, if it has such a place.
    static void openPrivacySettings();

private:
    Gtk::Application& application_;
    std::function<Gtk::Window*()> activeWindow_;
    Glib::RefPtr<Gtk::FileChooserNative> chooser_;   // null while nothing is asked
    std::filesystem::path chosenIn_ = Glib::get_home_dir();
};

}   // namespace ostrel
