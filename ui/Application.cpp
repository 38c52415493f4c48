#include "ui/Application.h"

#include "EmbeddedFiles.h"
#include "core/mailstore/MailPlaces.h"
#include "platform/SettingsStore.h"
#include "platform/Translation.h"
#include "platform/UserFolders.h"
#include "render/print/WebPDFRenderer.h"
#include "ui/About.h"
#include "ui/ShortcutsWindow.h"
#include "ui/sheets/Alert.h"
#include "ui/sheets/SheetWindow.h"
#include "ui/widgets/ApplicationID.h"
#include "ui/widgets/Symbols.h"
#include "ui/widgets/WidgetTree.h"

#include <chrono>
#include <utility>

#include <adwaita.h>
#include <gtkmm/cssprovider.h>
#include <gtkmm/settings.h>

namespace ostrel {
namespace {

using i18n::tr;

// Between two windows of one application the focus is nowhere for a moment.
constexpr std::chrono::milliseconds focusChange{100};

Instant now() { return std::chrono::time_point_cast<Instant::duration>(std::chrono::system_clock::now()); }

}   // namespace

Application::Application() : Gtk::Application(applicationID) {}

Application::~Application() {
    subscriptions_.clear();
    shortcuts_.reset();
    settings_.reset();
    help_.reset();
    main_.reset();
    commands_.reset();
    model_.reset();
}

void Application::on_startup() {
    Gtk::Application::on_startup();
    adw_init();   // the desktop's style, light or dark as its user likes it
    hold();       // without a window too
    addStyle();
    tasks_ = std::make_unique<MainLoopTasks>();
    desktop_ = std::make_unique<DesktopServices>(*this, [this] { return get_active_window(); });
    model_ = std::make_unique<AppModel>(AppModel::Surroundings{
        SettingsStore::forUser(), *tasks_, *desktop_,
        [](Paper paper) { return std::make_unique<WebPDFRenderer>(paper); }, now, Calendar::current,
        SummaryCache::usersFolder(), [] { return MailPlaces::find(MailPlaces::usual(homeFolder())); }});
    commands_ = std::make_unique<Commands>(*this, *model_, *this);
    main_ = std::make_unique<MainWindow>(*model_, *desktop_, &DesktopServices::openLink, commands_->menu());
    set_accel_for_action("win.mailboxes", "F9");
    // Back is where the page before lies for who reads.
    const bool isRightToLeft = Gtk::Widget::get_default_direction() == Gtk::TextDirection::RTL;
    set_accels_for_action("win.back", {isRightToLeft ? "<Alt>Right" : "<Alt>Left", "Back"});
    set_accel_for_action("win.find", "<Primary>f");
    set_accel_for_action("win.find-in-message", "<Primary><Shift>f");
    set_accels_for_action("win.zoom-in", {"<Primary>plus", "<Primary>equal", "<Primary>KP_Add"});
    set_accels_for_action("win.zoom-out", {"<Primary>minus", "<Primary>KP_Subtract"});
    set_accels_for_action("win.zoom-fit", {"<Primary>0", "<Primary>KP_0"});
    subscriptions_.push_back(model_->exportPhase.observe([this] { exportChanged(); }));
}

void Application::on_activate() {
    showMain();
    if (!std::exchange(hasStarted_, true)) model_->start();
}

void Application::addStyle() {
    const auto style = Gtk::CssProvider::create();
    style->load_from_data(std::string(embedded::style_css));
    Gtk::StyleContext::add_provider_for_display(Gdk::Display::get_default(), style,
                                                GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    // Printing asks for no network printers, exports fill no list of recent files.
    const auto settings = Gtk::Settings::get_default();
    g_object_set(settings->gobj(), "gtk-print-backends", "file", "gtk-recent-files-enabled", FALSE, nullptr);
}

// ---- Windows ----

void Application::showMain() { widgets::bring(*main_, *this); }

void Application::showHelp() {
    if (!help_) {
        help_ = std::make_unique<HelpWindow>();
        help_->set_hide_on_close();
    }
    widgets::bring(*help_, *this);
}

void Application::showSettings() {
    if (!settings_) {
        settings_ = std::make_unique<SettingsWindow>(*model_);
        settings_->set_hide_on_close();
    }
    widgets::bring(*settings_, *this);
}

void Application::showShortcuts() {
    shortcuts_ = makeShortcutsWindow();
    if (Gtk::Window* window = get_active_window()) shortcuts_->set_transient_for(*window);
    shortcuts_->present();
}

void Application::offerFilter(const MessageFilter& cleared) {
    if (main_) main_->offerFilter(cleared);
}

void Application::showAbout() { ostrel::showAbout(get_active_window()); }

// A sheet goes with the window that it covers, and comes back with it.
void Application::closeActive() {
    Gtk::Window* window = get_active_window();
    if (dynamic_cast<SheetWindow*>(window) != nullptr) window = main_.get();
    if (window != nullptr) window->close();
}

void Application::quit() {
    if (!model_->isExporting()) {
        end();
        return;
    }
    showMain();
    if (std::exchange(isAsking_, true)) return;
    showAlert(main_.get(), tr("An export is running"),
              tr("If you quit now, the export stops after the current message. What’s done stays, with its index."),
              {{tr("Keep Exporting"), [this] { isAsking_ = false; }},
               {tr("Stop and Quit"), [this] { end(); }, Answer::Kind::destructive}});
}

void Application::end() {
    isEnding_ = true;
    if (model_ && model_->isExporting()) {
        model_->cancelExport();   // exportChanged goes on
    } else {
        Gtk::Application::quit();
    }
}

// ---- What happens by itself ----

void Application::on_window_added(Gtk::Window* window) {
    Gtk::Application::on_window_added(window);
    window->property_is_active().signal_changed().connect([this] { followActivation(); });
}

// A window that is closed goes without a word about its activation.
void Application::on_window_removed(Gtk::Window* window) {
    Gtk::Application::on_window_removed(window);
    followActivation();
}

// The application becomes active when the user comes back from another one, not when a sheet of its own closes.
void Application::followActivation() {
    bool isActive = false;
    for (Gtk::Window* window : get_windows()) isActive = isActive || window->is_active();
    if (!isActive) {
        inactive_ = mainLoop::Timer(focusChange, [this] { isActive_ = false; });
        return;
    }
    inactive_ = {};
    if (!std::exchange(isActive_, true) && hasStarted_) model_->becameActive();
}

void Application::exportChanged() {
    const bool isExporting = model_->isExporting();
    if (!std::exchange(wasExporting_, isExporting) || isExporting) return;
    if (isEnding_) {
        Gtk::Application::quit();
    } else if (const auto* result = std::get_if<ExportResult>(&model_->exportPhase.get());
               result != nullptr && !isActive_) {
        desktop_->notify(result->cancelled || !result->stopped.empty() ? tr("Export stopped") : tr("Export finished"),
                         i18n::trCount("%lld messages saved as PDFs", result->exported));
    }
}

}   // namespace ostrel
