#include "ui/MainWindow.h"

#include "platform/Files.h"
#include "platform/Translation.h"
#include "ui/sheets/Alert.h"
#include "ui/sheets/ExportSheet.h"
#include "ui/sheets/VerificationSheet.h"
#include "ui/sheets/WelcomeSheet.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Symbols.h"
#include "ui/widgets/TextScale.h"
#include "ui/widgets/WidgetTree.h"

#include <utility>

#include <glibmm/main.h>
#include <gtkmm/droptarget.h>
#include <gtkmm/eventcontrollerkey.h>
#include <gtkmm/popover.h>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int defaultWidth = 1240, defaultHeight = 760;

// An icon alone: the tooltip says more than its name.
void prepare(Gtk::Button& button, const char* icon, const std::string& name, const std::string& tooltip,
             const char* action) {
    button.set_icon_name(icon);
    button.set_tooltip_text(tooltip);
    button.set_action_name(action);
    accessible::setLabel(button, name);
}

}   // namespace

MainWindow::MainWindow(AppModel& model, Desktop& desktop, WebPreview::LinkOpener opener,
                       const Glib::RefPtr<Gio::MenuModel>& menu)
    : model_(model),
      desktop_(desktop),
      access_(model, desktop, mnemonics_),
      noMail_(model, mnemonics_),
      sidebar_(model),
      footer_(model),
      filter_(model, mnemonics_),
      table_(model),
      exportBar_(model, mnemonics_),
      preview_(model, std::move(opener)),
      mailboxes_(Gtk::Orientation::VERTICAL),
      messages_(Gtk::Orientation::VERTICAL),
      columns_(mailboxes_, messages_, preview_) {
    set_title(tr("Ostrel"));
    set_default_size(textScale::scaled(defaultWidth), textScale::scaled(defaultHeight));
    set_hide_on_close();
    group_->add_window(*this);
    addToolbar(menu);
    keepFocus();

    addColumns();
    for (Gtk::Widget* page : std::initializer_list<Gtk::Widget*>{&reading_, &access_, &noMail_, &columns_})
        content_.add(*page);
    content_.set_hhomogeneous(false);
    content_.set_vhomogeneous(false);
    set_child(content_);

    reading_.signalCancel.connect([this] { model_.cancelScan(); });
    takeFolders();
    subscriptions_.push_back(model_.state.observe([this] { showState(); }));
    subscriptions_.push_back(model_.sheet.observe([this] { showSheet(); }));
    subscriptions_.push_back(model_.problem.observe([this] { showProblem(); }));
    subscriptions_.push_back(model_.unfinished.observe([this] { askAboutUnfinished(); }));
    showState();
    showSheet();
    showProblem();
}

MainWindow::~MainWindow() { g_clear_weak_pointer(&beforeMenu_); }

void MainWindow::addColumns() {
    mailboxes_.append(sidebar_);
    mailboxes_.append(footer_);
    toasts_.setChild(table_);   // what it says covers no button
    for (Gtk::Widget* part : std::initializer_list<Gtk::Widget*>{&filter_, &toasts_, &exportBar_})
        messages_.append(*part);
    columns_.signalFolded.connect([this] { showColumns(); });
    table_.onOpen = [this] {
        if (!columns_.alone()) return;
        columns_.showAlone(ThreeColumns::Column::page);
        preview_.focusPage();
    };
    sidebar_.signalChosen.connect([this] { goBack(); });
}

// To the list, where it is not shown beside the others.
void MainWindow::goBack() {
    if (!columns_.alone()) return;
    columns_.showAlone(ThreeColumns::Column::messages);
    table_.focusList();
}

void MainWindow::showColumns() {
    const auto alone = columns_.alone();
    const bool isReady = model_.state.get().kind == MailState::Kind::ready;
    const bool hasList = !alone || *alone == ThreeColumns::Column::messages;
    table_.setCompact(alone.has_value());
    goBack_->set_enabled(isReady && !hasList);
    back_.set_visible(isReady && !hasList);
    showMailboxes_.set_visible(isReady && hasList);
    reload_.set_visible(isReady && !alone);   // the menu has it, where there is no room for more than the title
    export_.set_visible(isReady);
    toggleMailboxes_->set_state(Glib::Variant<bool>::create(columns_.areMailboxesShown()));
}

void MainWindow::addToolbar(const Glib::RefPtr<Gio::MenuModel>& menu) {
    toggleMailboxes_ = add_action_bool(
        "mailboxes", [this] { columns_.toggleMailboxes(); }, true);
    goBack_ = add_action("back", [this] { goBack(); });
    prepare(back_, "go-previous-symbolic", tr("Back"), tr("Back to the messages"), "win.back");
    prepare(showMailboxes_, symbols::iconName("sidebar.left"), tr("Mailboxes"),
            tr("Show or hide the mailboxes") + " (F9)", "win.mailboxes");
    prepare(reload_, symbols::iconName("arrow.clockwise"), tr("Reload"), tr("Read the mail folder again (⌘R)"),
            "app.reload");
    prepare(export_, symbols::iconName("square.and.arrow.up"), tr("Export"),
            tr("Export the messages in the list to PDFs (⇧⌘E)"), "app.export");
    add_action("find", [this] {
        if (widgets::hasFocus(preview_)) {
            preview_.find();
        } else {
            columns_.showAlone(ThreeColumns::Column::messages);
            filter_.find();
        }
    });
    add_action("find-in-message", [this] {
        columns_.showAlone(ThreeColumns::Column::page);
        preview_.find();
    });
    add_action("zoom-in", [this] { preview_.zoomIn(); });
    add_action("zoom-out", [this] { preview_.zoomOut(); });
    add_action("zoom-fit", [this] { preview_.fitWidth(); });
    menu_.set_menu_model(menu);
    menu_.set_icon_name("open-menu-symbolic");
    menu_.set_primary();   // F10 opens it
    menu_.set_tooltip_text(tr("Main menu"));
    accessible::setLabel(menu_, tr("Main menu"));
    header_.pack_start(back_);
    header_.pack_start(showMailboxes_);
    header_.pack_start(reload_);
    header_.pack_end(menu_);
    header_.pack_end(export_);
    set_titlebar(header_);
}

// Where the toolkit and the engine lose it.
void MainWindow::keepFocus() {
    // A menu that is closed leaves it on its button.
    property_focus_widget().signal_changed().connect([this] {
        Gtk::Widget* focus = get_focus();
        if (focus != nullptr && !widgets::hasFocus(menu_)) g_set_weak_pointer(&beforeMenu_, focus->gobj());
    });
    menu_.get_popover()->signal_closed().connect([this] {
        Glib::signal_idle().connect_once([this] {
            const bool isLost = get_focus() == nullptr || widgets::hasFocus(menu_);
            if (isLost && beforeMenu_ != nullptr) gtk_widget_grab_focus(beforeMenu_);
        });
    });
    // A Tab key that leads out of the page comes back from the engine once the focus has moved, and would move it
    // again.
    const auto keys = Gtk::EventControllerKey::create();
    keys->set_propagation_phase(Gtk::PropagationPhase::CAPTURE);
    keys->signal_key_pressed().connect(
        [this, controller = keys.get()](guint key, guint, Gdk::ModifierType) {
            if (key == GDK_KEY_Escape && content_.get_visible_child() == &reading_) {
                model_.cancelScan();
                return true;
            }
            if (key == GDK_KEY_Escape && goBack_->get_enabled() && !preview_.isFinding()) {
                goBack();
                return true;
            }
            if (key != GDK_KEY_Tab && key != GDK_KEY_ISO_Left_Tab) return false;
            const std::uint32_t when = controller->get_current_event_time();
            const bool isInPage = widgets::hasFocus(preview_);
            const bool isBack = !isInPage && when == tabbedInPage_;
            tabbedInPage_ = isInPage ? when : 0;
            return isBack;
        },
        false);
    add_controller(keys);
}

// A folder that is dropped on the window is read as if it had been chosen.
void MainWindow::takeFolders() {
    const auto drop = Gtk::DropTarget::create(GDK_TYPE_FILE_LIST, Gdk::DragAction::COPY);
    drop->signal_drop().connect(
        [this](const Glib::ValueBase& dropped, double, double) {
            auto* const list = static_cast<GdkFileList*>(g_value_get_boxed(dropped.gobj()));
            GSList* const files = gdk_file_list_get_files(list);
            const char* const path = files != nullptr ? g_file_peek_path(G_FILE(files->data)) : nullptr;
            const bool isFolder = path != nullptr && files::isFolder(path);
            if (isFolder) model_.openFolder(path);
            g_slist_free(files);
            return isFolder;
        },
        false);
    add_controller(drop);
}

void MainWindow::showState() {
    const MailState& state = model_.state.get();
    showColumns();
    reading_.update(state);
    switch (state.kind) {
        case MailState::Kind::checking:
        case MailState::Kind::scanning:
            content_.set_visible_child(reading_);
            break;
        case MailState::Kind::needsAccess:
            content_.set_visible_child(access_);
            break;
        case MailState::Kind::stopped:
        case MailState::Kind::noMail:
            content_.set_visible_child(noMail_);
            break;
        case MailState::Kind::ready:
            content_.set_visible_child(columns_);
            break;
    }
}

void MainWindow::showSheet() {
    // A sheet that closes itself is in the middle of its own work.
    if (auto old = std::exchange(sheet_, nullptr)) {
        old->hide();
        Glib::signal_idle().connect_once([old] {});
        const auto* result = std::get_if<ExportResult>(&model_.exportPhase.get());
        const bool isLast = !model_.sheet.get();
        if (isLast && result != nullptr && result->exported > 0 && dynamic_cast<ExportSheet*>(old.get()) != nullptr)
            showToast(*result);
    }
    const auto& sheet = model_.sheet.get();
    if (!sheet) return;
    if (*sheet == Sheet::welcome) {
        sheet_ = std::make_shared<WelcomeSheet>(model_, *this);
    } else if (*sheet == Sheet::verification) {
        sheet_ = std::make_shared<VerificationSheet>(model_, desktop_, *this);
    } else {
        const bool isUpdate = *sheet == Sheet::update;
        sheet_ = std::make_shared<ExportSheet>(
            model_, desktop_, *this, isUpdate ? ExportSheet::Purpose::update : ExportSheet::Purpose::newExport);
    }
    if (get_visible()) sheet_->present();
}

void MainWindow::showToast(const ExportResult& result) {
    toasts_.show(i18n::trCount("%lld messages saved", result.exported), tr("Open"),
                 [this, folder = result.folder] { desktop_.reveal(folder); });
}

void MainWindow::offerFilter(const MessageFilter& cleared) {
    toasts_.show(tr("Filters cleared"), tr("Undo"), [this, cleared] {
        MessageFilter filter = cleared;
        filter.mailboxes = model_.filter.get().mailboxes;
        filter.skipDuplicates = model_.filter.get().skipDuplicates;
        model_.filter.set(std::move(filter));
    });
}

void MainWindow::showProblem() {
    const auto& problem = model_.problem.get();
    if (!problem) return;
    showAlert(sheet_ ? sheet_.get() : this, tr("Something went wrong"), *problem,
              {{tr("OK"), [this] { model_.problem.set(std::nullopt); }}});
}

void MainWindow::askAboutUnfinished() {
    const auto& folder = model_.unfinished.get();
    if (!folder) return;
    using enum AppModel::Unfinished;
    const auto answer = [this](AppModel::Unfinished given) {
        return [this, given] { model_.answerUnfinished(given); };
    };
    showAlert(sheet_ ? sheet_.get() : this, tr("Go on with an unfinished export?"),
              i18n::filled(tr("The export “%@” has not come to its end. To go on with it saves only what is missing."),
                           displayText(folder->filename())),
              {{tr("Cancel"), answer(leave)},
               {tr("New Export"), answer(exportAnew)},
               {tr("Go On"), answer(goOn), Answer::Kind::suggested}});
}

void MainWindow::on_show() {
    Gtk::ApplicationWindow::on_show();
    if (sheet_) widgets::bring(*sheet_, *get_application());
}

void MainWindow::on_hide() {
    if (sheet_) sheet_->hide();
    Gtk::ApplicationWindow::on_hide();
}

}   // namespace ostrel
