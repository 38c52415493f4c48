#include "ui/AccessView.h"

#include "platform/Translation.h"
#include "ui/DesktopServices.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Headline.h"
#include "ui/widgets/Labels.h"
#include "ui/widgets/Symbols.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include <adwaita.h>
#include <gtkmm/button.h>
#include <gtkmm/image.h>

namespace ostrel {
namespace {

using i18n::tr;

constexpr int width = 600, margin = 18, spacing = 12, symbolSize = 48;

std::filesystem::path ownProgram() {
    std::error_code none;
    return std::filesystem::read_symlink("/proc/self/exe", none);
}

}   // namespace

AccessView::AccessView(AppModel& model, Desktop& desktop, Mnemonics mnemonics)
    : mnemonics_(std::move(mnemonics)), content_(Gtk::Orientation::VERTICAL, spacing) {
    auto& image = *Gtk::make_managed<Gtk::Image>();
    image.set_from_icon_name(symbols::iconName("lock.shield"));
    image.set_pixel_size(symbolSize);
    image.set_halign(Gtk::Align::START);
    accessible::hide(image);
    auto& title = *Gtk::make_managed<Gtk::Label>(tr("Let Ostrel read your Mail folder"));
    title.add_css_class("title-2");
    auto& subtitle = *Gtk::make_managed<Gtk::Label>(
        tr("macOS keeps Mail’s messages private until you allow an app. It takes three steps."));
    wrapFromLeft(title);
    wrapFromLeft(subtitle);
    for (Gtk::Widget* each : std::initializer_list<Gtk::Widget*>{&image, &title, &subtitle}) content_.append(*each);

    addStep(1, tr("Open Full Disk Access in System Settings"),
            tr("It’s in System Settings › Privacy & Security › Full Disk Access."),
            tr("Open Full Disk Access Settings"), [] { DesktopServices::openPrivacySettings(); });
    addStep(
        2, tr("Turn on Ostrel"),
        tr("Find Ostrel in the list and turn its switch on. If it isn’t listed, click + and choose Ostrel, or drag it "
           "into the list from Finder."),
        tr("Show Ostrel in Finder"), [&desktop] { desktop.reveal(ownProgram()); });
    addStep(
        3, tr("Come back here"),
        tr("Ostrel checks again by itself when you return. If macOS offers to quit and reopen Ostrel, choose Quit & "
           "Reopen."),
        tr("Check Again"), [&model] { model.reload(); });

    content_.get_last_child()->set_margin_bottom(spacing / 2);
    addPromise(
        "doc.on.doc",
        tr("Read-only: Ostrel opens Mail’s message files for reading and never changes, moves or deletes them."));
    addPromise("wifi.slash", tr("Everything stays on this Mac. Your mail is never uploaded or sent anywhere."));
    addPromise("switch.2", tr("You can turn access off again any time in the same place."));

    auto& otherwise =
        *Gtk::make_managed<Gtk::Label>(tr("Rather not? You can also export from a copy of your Mail folder."));
    wrapFromLeft(otherwise);
    otherwise.set_margin_top(spacing);
    auto& choose = *Gtk::make_managed<Gtk::Button>();
    mnemonics_.write(choose, tr("Choose a Folder…"));
    choose.set_action_name("app.choose-folder");
    choose.set_halign(Gtk::Align::START);
    content_.append(otherwise);
    content_.append(choose);

    content_.set_valign(Gtk::Align::CENTER);
    content_.set_margin(margin);
    GtkWidget* const clamp = adw_clamp_new();
    adw_clamp_set_maximum_size(ADW_CLAMP(clamp), width);
    adw_clamp_set_child(ADW_CLAMP(clamp), GTK_WIDGET(content_.gobj()));
    set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    set_child(*Glib::wrap(clamp));
}

void AccessView::addStep(unsigned number, const std::string& title, const std::string& text, const std::string& button,
                         std::function<void()> run) {
    auto& step = *Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, spacing / 4);
    step.add_css_class("step");
    auto& count = *Gtk::make_managed<Gtk::Label>(i18n::trCount("Step %lld", number));
    count.add_css_class("caption");
    count.add_css_class("dim-label");
    auto& heading = *Gtk::make_managed<Gtk::Label>(title);
    heading.add_css_class("heading");
    auto& explanation = *Gtk::make_managed<Gtk::Label>(text);
    for (Gtk::Label* label : {&count, &heading, &explanation}) {
        wrapFromLeft(*label);
        step.append(*label);
    }
    auto& action = *Gtk::make_managed<Gtk::Button>();
    mnemonics_.write(action, button);
    action.set_halign(Gtk::Align::START);
    action.set_margin_top(spacing / 2);
    action.signal_clicked().connect(std::move(run));
    step.append(action);
    step.set_margin_top(spacing / 2);
    content_.append(step);
}

void AccessView::addPromise(const char* symbol, const std::string& text) {
    auto& line = *Gtk::make_managed<Headline>(symbol, text);
    line.add_css_class("dim-label");
    content_.append(line);
}

}   // namespace ostrel
