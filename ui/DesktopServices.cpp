#include "ui/DesktopServices.h"

#include "platform/Files.h"
#include "platform/Translation.h"
#include "ui/Launcher.h"
#include "ui/sheets/Alert.h"

#include <array>
#include <memory>
#include <utility>
#include <vector>

#include <gio/gdesktopappinfo.h>
#include <giomm/asyncresult.h>
#include <giomm/dbusproxy.h>
#include <giomm/file.h>
#include <giomm/notification.h>
#include <glibmm/main.h>
#include <glibmm/variant.h>
#include <gtkmm/dialog.h>

namespace ostrel {
namespace {

using i18n::tr;
using AsyncResult = Glib::RefPtr<Gio::AsyncResult>;

// Alerts of functions that have no window at hand.
std::function<Gtk::Window*()>& frontWindow() {
    static std::function<Gtk::Window*()> ask = [] { return nullptr; };
    return ask;
}

void alert(const std::string& title, const std::string& text) { showAlert(frontWindow()(), title, text, {{tr("OK")}}); }

// By which the program may come to the front; empty if this desktop has none.
std::string activationToken(GAppInfo* program) {
    if (program == nullptr) return {};
    const auto context = Gdk::Display::get_default()->get_app_launch_context();
    char* const id =
        g_app_launch_context_get_startup_notify_id(G_APP_LAUNCH_CONTEXT(context->gobj()), program, nullptr);
    const std::string token = id ? id : "";
    g_free(id);
    return token;
}

void launch(const std::string& uri, std::function<void()> failed) {
    GFile* const file = g_file_new_for_uri(uri.c_str());
    GAppInfo* const program = g_file_query_default_handler(file, nullptr, nullptr);
    launcher::openURI(uri, activationToken(program), std::move(failed));
    if (program != nullptr) g_object_unref(program);
    g_object_unref(file);
}

void openFolder(const std::filesystem::path& folder) {
    launch(Gio::File::create_for_path(folder.native())->get_uri(), [folder] {
        alert(tr("The folder could not be shown"),
              i18n::filled(tr("This desktop has no file manager. The folder is %@"), displayText(folder)));
    });
}

}   // namespace

DesktopServices::DesktopServices(Gtk::Application& application, std::function<Gtk::Window*()> activeWindow)
    : application_(application), activeWindow_(std::move(activeWindow)) {
    frontWindow() = activeWindow_;
}

DesktopServices::~DesktopServices() {
    frontWindow() = [] { return nullptr; };
}

void DesktopServices::chooseFolder(const FolderRequest& request,
                                   std::function<void(std::optional<std::filesystem::path>)> chosen) {
    if (chooser_) {   // one question at a time
        chooser_->show();
        chosen(std::nullopt);
        return;
    }
    chooser_ = Gtk::FileChooserNative::create(request.message, Gtk::FileChooser::Action::SELECT_FOLDER, request.prompt,
                                              tr("Cancel"));
    if (Gtk::Window* window = activeWindow_()) chooser_->set_transient_for(*window);
    chooser_->set_modal();
    chooser_->set_create_folders(request.canCreate);
    chooser_->set_current_folder(Gio::File::create_for_path(chosenIn_));
    chooser_->signal_response().connect([this, chosen = std::move(chosen)](int response) {
        const auto chooser = std::exchange(chooser_, nullptr);
        const auto file = response == Gtk::ResponseType::ACCEPT ? chooser->get_file() : nullptr;
        const std::string path = file ? file->get_path() : std::string();
        chooser->hide();
        if (!path.empty()) chosenIn_ = std::filesystem::path(path).parent_path();
        // The chooser is in the middle of its own work.
        Glib::signal_idle().connect_once([chooser, chosen, path] {
            chosen(path.empty() ? std::nullopt : std::optional<std::filesystem::path>(path));
        });
    });
    chooser_->show();
}

// Asks the file manager (freedesktop.org, "File Manager DBus Interface"); whatever fails, the folder is opened by the
// default program.
void DesktopServices::reveal(const std::filesystem::path& path) {
    constexpr const char* manager = "org.freedesktop.FileManager1";
    const auto answered = [folder = path.parent_path()](Gio::DBus::Proxy& proxy, const AsyncResult& answer) {
        try {
            proxy.call_finish(answer);
        } catch (const Glib::Error&) {
            openFolder(folder);
        }
    };
    Gio::DBus::Proxy::create_for_bus(
        Gio::DBus::BusType::SESSION, manager, "/org/freedesktop/FileManager1", manager,
        [path, answered](const AsyncResult& connected) {
            try {
                const auto proxy = Gio::DBus::Proxy::create_for_bus_finish(connected);
                const std::vector<Glib::ustring> uris = {Gio::File::create_for_path(path.native())->get_uri()};
                proxy->call(
                    "ShowItems", [proxy, answered](const AsyncResult& answer) { answered(*proxy, answer); },
                    Glib::VariantContainerBase::create_tuple({Glib::Variant<std::vector<Glib::ustring>>::create(uris),
                                                              Glib::Variant<Glib::ustring>::create("")}));
            } catch (const Glib::Error&) {   // no bus
                openFolder(path.parent_path());
            }
        },
        {}, Gio::DBus::ProxyFlags::DO_NOT_LOAD_PROPERTIES | Gio::DBus::ProxyFlags::DO_NOT_CONNECT_SIGNALS);
}

void DesktopServices::open(const std::filesystem::path& file) {
    launch(Gio::File::create_for_path(file.native())->get_uri(), [file] {
        alert(tr("The file could not be opened"),
              i18n::filled(tr("This desktop has no program for it. The file is %@"), displayText(file)));
    });
}

std::shared_ptr<void> DesktopServices::keepAwake(const std::string& reason) {
    const guint cookie = gtk_application_inhibit(
        application_.gobj(), nullptr,
        static_cast<GtkApplicationInhibitFlags>(GTK_APPLICATION_INHIBIT_SUSPEND | GTK_APPLICATION_INHIBIT_IDLE),
        reason.c_str());
    if (cookie == 0) return nullptr;   // this desktop sleeps as it likes
    return {application_.gobj(),
            [cookie](GtkApplication* application) { gtk_application_uninhibit(application, cookie); }};
}

void DesktopServices::notify(const std::string& title, const std::string& text) {
    const auto notification = Gio::Notification::create(title);
    notification->set_body(text);
    application_.send_notification("export", notification);
}

void DesktopServices::openLink(const std::string& url) {
    launch(url, [url] {
        alert(tr("The link could not be opened"),
              i18n::filled(tr("This desktop has no program for it. The address is %@"), url));
    });
}

void DesktopServices::openPrivacySettings() {
    constexpr std::array panels{"gnome-applications-panel.desktop", "gnome-privacy-panel.desktop",
                                "systemsettings.desktop", "xfce-settings-manager.desktop"};
    const auto failed = [] {
        alert(tr("The settings could not be opened"), tr("This desktop has no such settings. Give your user the right "
                                                         "to read the Mail folder, or choose a copy of it."));
    };
    for (const char* panel : panels) {
        GDesktopAppInfo* const found = g_desktop_app_info_new(panel);
        if (found == nullptr) continue;
        launcher::openApplication(panel, activationToken(G_APP_INFO(found)), failed);
        g_object_unref(found);
        return;
    }
    failed();
}

}   // namespace ostrel
