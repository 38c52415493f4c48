#pragma once

#include "app/AppModel.h"
#include "ui/AccessView.h"
#include "ui/ExportBar.h"
#include "ui/FilterBar.h"
#include "ui/MailboxSidebar.h"
#include "ui/NoMailView.h"
#include "ui/PreviewPane.h"
#include "ui/SidebarFooter.h"
#include "ui/list/MessageTable.h"
#include "ui/list/ReadingView.h"
#include "ui/widgets/Mnemonics.h"
#include "ui/widgets/ThreeColumns.h"
#include "ui/widgets/ToastArea.h"

#include <cstdint>
#include <memory>
#include <vector>

#include <giomm/simpleaction.h>
#include <gtkmm/applicationwindow.h>
#include <gtkmm/headerbar.h>
#include <gtkmm/menubutton.h>
#include <gtkmm/stack.h>
#include <gtkmm/togglebutton.h>
#include <gtkmm/windowgroup.h>

namespace ostrel {

// The one main window: what it contains follows the state of the mail folder; sheets and alerts stand in front of it.
class MainWindow : public Gtk::ApplicationWindow {
public:
    // menu: of all commands.
    MainWindow(AppModel& model, Desktop& desktop, WebPreview::LinkOpener opener,
               const Glib::RefPtr<Gio::MenuModel>& menu);
    ~MainWindow() override;
    // For a while: to have back what has just been cleared.
    void offerFilter(const MessageFilter& cleared);

protected:
    // A sheet comes and goes with the window it covers.
    void on_show() override;
    void on_hide() override;

private:
    void keepFocus();
    void addColumns();
    void takeFolders();
    void goBack();
    void showColumns();
    void addToolbar(const Glib::RefPtr<Gio::MenuModel>& menu);
    void showState();
    void showSheet();
    void showToast(const ExportResult& result);
    void showProblem();
    void askAboutUnfinished();

    AppModel& model_;
    Desktop& desktop_;
    // Of this window and what stands in front of it: sheets and alerts keep the keys from the others of their group.
    Glib::RefPtr<Gtk::WindowGroup> group_ = Gtk::WindowGroup::create();
    Mnemonics mnemonics_;
    Gtk::HeaderBar header_;
    Gtk::MenuButton menu_;
    Gtk::ToggleButton showMailboxes_;
    Gtk::Button back_, reload_, export_;
    ToastArea toasts_;
    Gtk::Stack content_;
    ReadingView reading_;
    AccessView access_;
    NoMailView noMail_;
    MailboxSidebar sidebar_;
    SidebarFooter footer_;
    FilterBar filter_;
    MessageTable table_;
    ExportBar exportBar_;
    PreviewPane preview_;
    Gtk::Box mailboxes_, messages_;
    ThreeColumns columns_;
    Glib::RefPtr<Gio::SimpleAction> goBack_, toggleMailboxes_;
    std::shared_ptr<Gtk::Window> sheet_;
    GtkWidget* beforeMenu_ = nullptr;   // had the focus when the menu opened; null once it is gone
    std::uint32_t tabbedInPage_ = 0;    // when
    std::vector<Subscription> subscriptions_;
};

}   // namespace ostrel
