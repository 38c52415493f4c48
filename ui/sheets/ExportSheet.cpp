#include "ui/sheets/ExportSheet.h"

#include "core/archive/Archive.h"
#include "platform/Files.h"
#include "platform/Translation.h"
#include "ui/sheets/OptionRows.h"
#include "ui/widgets/Accessible.h"
#include "ui/widgets/Labels.h"
#include "ui/widgets/Preferences.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

namespace ostrel {
namespace {

using i18n::tr;
using i18n::trCount;

constexpr int spacing = 12, titleSymbolSize = 24;

void secondary(Gtk::Label& label) {
    wrapFromLeft(label);
    label.add_css_class("dim-label");
}

std::string words(std::chrono::minutes left) {
    constexpr std::chrono::minutes oneByOne{90};
    if (left == std::chrono::minutes(0)) return tr("Less than a minute left");
    const auto count = [](auto duration) { return static_cast<std::uint64_t>(duration.count()); };
    return left < oneByOne ? trCount("About %lld minutes left", count(left))
                           : trCount("About %lld hours left", count(std::chrono::round<std::chrono::hours>(left)));
}

// What stood in the way of all, a line for each cause, and why the run gave up if it did.
std::string reasons(const ExportResult& result) {
    constexpr std::size_t most = 5;
    std::string lines;
    const auto add = [&](const std::string& line) { lines += (lines.empty() ? "" : "\n") + line; };
    if (!result.trouble.empty()) add(result.trouble);
    const auto causes = result.causes();
    for (std::size_t i = 0; i < std::min(causes.size(), most); ++i)
        add(i18n::filled(trCount("%lld messages: %@", causes[i].messages), causes[i].text));
    if (causes.size() > most) add(trCount("and %lld other reasons", causes.size() - most));
    if (!result.stopped.empty()) add(result.stopped + " " + trCount("%lld messages were not tried.", result.notTried));
    return lines;
}

}   // namespace

ExportSheet::ExportSheet(AppModel& model, Desktop& desktop, Gtk::Window& parent, Purpose purpose)
    : SheetWindow(model, parent, purpose == Purpose::update ? tr("Update an Export") : tr("Export")),
      desktop_(desktop),
      purpose_(purpose),
      options_(Gtk::Orientation::VERTICAL, spacing),
      progress_(Gtk::Orientation::VERTICAL, spacing),
      summary_(Gtk::Orientation::VERTICAL, spacing),
      optionsTitle_("doc.richtext", "", titleSymbolSize),
      progressTitle_("square.and.arrow.up", isUpdate() ? tr("Updating…") : tr("Exporting…"), titleSymbolSize),
      summaryTitle_("checkmark.circle.fill", "", titleSymbolSize),
      more_(spacing, spacing) {
    buildOptions();
    buildProgress();
    buildSummary();
    for (Headline* title : {&optionsTitle_, &progressTitle_, &summaryTitle_}) title->add_css_class("title-2");
    for (Gtk::Box* each : {&options_, &progress_, &summary_}) faces_.add(*each);
    faces_.set_vhomogeneous(false);
    faces_.set_hhomogeneous(false);
    content().append(faces_);
    addButton(close_, tr("Cancel"));
    addButton(choose_, isUpdate() ? tr("Choose Export and Update…") : tr("Choose Folder and Export…"));
    addButton(pause_, tr("Pause"));
    addButton(goOn_, tr("Go On"));
    addButton(stop_, isUpdate() ? tr("Cancel Update") : tr("Cancel Export"));
    addButton(reveal_, tr("Show in Finder"));
    addButton(finish_, tr("Done"));
    for (Gtk::Button* button : {&choose_, &finish_}) button->add_css_class("suggested-action");

    subscriptions_.push_back(this->model().messages.observe([this] { showCount(); }));
    subscriptions_.push_back(this->model().exportPhase.observe([this] { showPhase(); }));
    subscriptions_.push_back(this->model().isPaused.observe([this] { showPause(); }));
    showCount();
    showPhase();
}

void ExportSheet::buildOptions() {
    auto& promise = *Gtk::make_managed<Gtk::Label>(
        isUpdate() ? tr("Adds what the export does not hold yet, and makes again what is missing or damaged in it. "
                        "Everything else in its folder stays as it is.")
                   : tr("Mail’s own files are only read, never changed. Remote images are not loaded."));
    secondary(promise);
    auto& rows = preferences::makeGroup(
        "", "",
        {&preferences::makeLine("doc.text",
                                tr("One searchable PDF per message: header, text and the list of attachments")),
         &makeSwitchRow(model(), tr("Save each message’s attachments in a folder beside its PDF"),
                        &AppSettings::includeAttachments),
         &makeSwitchRow(model(), tr("Write an index (index.csv: date, from, to, subject, file)"),
                        &AppSettings::includeIndex),
         &makePaperRow(model())});
    for (Gtk::Widget* each : std::initializer_list<Gtk::Widget*>{&optionsTitle_, &promise, &rows})
        options_.append(*each);
    close_.signal_clicked().connect([this] { cancel(); });
    choose_.signal_clicked().connect([this] {
        if (isUpdate()) {
            this->model().chooseExportAndUpdate();
        } else {
            this->model().chooseDestinationAndExport();
        }
    });
}

void ExportSheet::buildProgress() {
    done_.add_css_class("numeric");
    wrapFromLeft(done_);
    secondary(current_);
    current_.set_wrap(false);
    current_.set_ellipsize(Pango::EllipsizeMode::END);
    accessible::setLabel(bar_, tr("Export progress"));
    auto& advice = *Gtk::make_managed<Gtk::Label>(
        tr("You can keep using your Mac. Cancel stops after the current message and keeps what’s done."));
    secondary(advice);
    timeLeft_.add_css_class("numeric");
    secondary(timeLeft_);
    for (Gtk::Widget* each :
         std::initializer_list<Gtk::Widget*>{&progressTitle_, &bar_, &done_, &timeLeft_, &current_, &advice})
        progress_.append(*each);
    pause_.signal_clicked().connect([this] { this->model().pauseExport(true); });
    goOn_.signal_clicked().connect([this] { this->model().pauseExport(false); });
    stop_.signal_clicked().connect([this] { cancel(); });
}

void ExportSheet::buildSummary() {
    for (Gtk::Label* label : {&saved_, &savedAttachments_, &held_, &simplified_, &failed_, &why_, &strange_, &folder_})
        wrapFromLeft(*label);
    failed_.add_css_class("attention");
    why_.set_selectable();
    folder_.add_css_class("caption");
    folder_.add_css_class("dim-label");
    folder_.set_wrap_mode(Pango::WrapMode::CHAR);
    folder_.set_selectable();
    for (Gtk::Widget* each :
         std::initializer_list<Gtk::Widget*>{&summaryTitle_, &saved_, &savedAttachments_, &held_, &simplified_,
                                             &failed_, &why_, &strange_, &details_, &folder_, &more_})
        summary_.append(*each);
    for (const auto& [button, text] :
         {std::pair(&openIndex_, tr("Open Index")), std::pair(&verify_, tr("Verify This Export"))}) {
        button->set_label(text);
        more_.append(*button);
    }
    openIndex_.signal_clicked().connect([this] {
        if (result()) desktop_.open(result()->folder / Archive::indexName);
    });
    verify_.signal_clicked().connect([this] {
        if (result()) model().verifyExport(std::filesystem::path(result()->folder));
    });
    reveal_.signal_clicked().connect([this] {
        if (result()) desktop_.reveal(result()->folder);
    });
    finish_.signal_clicked().connect([this] { cancel(); });
}

void ExportSheet::showCount() {
    const std::string title = trCount("Export %lld messages", model().messages.get().size());
    optionsTitle_.set("doc.richtext", isUpdate() ? tr("Update an Export") : title);
}

void ExportSheet::showPhase() {
    const ExportPhase& phase = model().exportPhase.get();
    if (const auto* progress = std::get_if<ExportProgress>(&phase)) {
        if (!estimate_) estimate_.emplace(TimeLeft::Clock::now());
        show(*progress);
        face(progress_, progressTitle_.label().get_text(), {&pause_, &stop_}, nullptr);
    } else if (const auto* result = std::get_if<ExportResult>(&phase)) {
        estimate_.reset();
        show(*result);
        face(summary_, summaryTitle_.label().get_text(), {&reveal_, &finish_}, &finish_);
    } else {
        estimate_.reset();
        face(options_, isUpdate() ? tr("Update an Export") : tr("Export"), {&close_, &choose_}, &choose_);
    }
}

void ExportSheet::show(const ExportProgress& progress) {
    const double total = static_cast<double>(std::max<std::size_t>(progress.total, 1));
    const bool isLooking = progress.total == 0 && progress.current.empty();
    bar_.set_fraction(static_cast<double>(progress.done) / total);
    gtk_accessible_update_property(GTK_ACCESSIBLE(bar_.gobj()), GTK_ACCESSIBLE_PROPERTY_VALUE_TEXT,
                                   i18n::filled(tr("%lld of %lld"), progress.done, progress.total).c_str(), -1);
    done_.set_text(isLooking ? tr("Comparing the export with the mail…")
                             : i18n::filled(tr("%lld of %lld messages"), progress.done, progress.total));
    current_.set_text(progress.current);
    showTimeLeft(progress);
}

void ExportSheet::showTimeLeft(const ExportProgress& progress) {
    const auto left = estimate_->at(TimeLeft::Clock::now(), progress.done, progress.total);
    timeLeft_.set_visible(left.has_value());
    if (left) timeLeft_.set_text(words(*left));
}

void ExportSheet::showPause() {
    if (!model().isExporting()) return;
    const bool isPaused = model().isPaused.get();
    if (estimate_) estimate_->setPaused(isPaused, TimeLeft::Clock::now());
    const std::string running = isUpdate() ? tr("Updating…") : tr("Exporting…");
    progressTitle_.label().set_text(isPaused ? tr("Paused") : running);
    Gtk::Button &shown = isPaused ? goOn_ : pause_, &hidden = isPaused ? pause_ : goOn_;
    shown.set_visible();
    if (get_focus() == &hidden) set_focus(shown);
    hidden.set_visible(false);
}

void ExportSheet::show(const ExportResult& result) {
    const bool isStopped = result.cancelled || !result.stopped.empty();
    const bool isInVain = result.exported == 0 && !result.failed.empty();
    summaryTitle_.set(isStopped  ? "stop.circle"
                      : isInVain ? "exclamationmark.triangle"
                                 : "checkmark.circle.fill",
                      isUpdate() ? (isStopped ? tr("Update stopped") : tr("Update finished"))
                                 : (isStopped ? tr("Export stopped") : tr("Export finished")));
    summaryTitle_.image().set_css_classes({isStopped || isInVain ? "attention" : "success"});
    saved_.set_text(trCount("%lld messages saved as PDFs", result.exported));
    savedAttachments_.set_text(trCount("%lld attachments saved", result.attachments));
    savedAttachments_.set_visible(result.attachments > 0);
    held_.set_text(trCount("Already in the export: %lld", result.held));
    held_.set_visible(result.held > 0);
    simplified_.set_text(
        trCount("%lld messages were printed in a simpler form (listed in the index)", result.simplified.size()));
    simplified_.set_visible(!result.simplified.empty());
    failed_.set_text(trCount("%lld messages couldn’t be read (listed in the index)", result.failed.size()));
    failed_.set_visible(!result.failed.empty());
    why_.set_text(reasons(result));
    why_.set_visible(!why_.get_text().empty());
    strange_.set_text(
        trCount("%lld files in the folder are not of this export. They were left alone.", result.strange.size()));
    strange_.set_visible(!result.strange.empty());
    std::vector<std::string> lines;
    for (const ExportResult::Failure& failure : result.failed) lines.push_back(failure.name + ": " + failure.reason);
    for (const ExportResult::Simplified& each : result.simplified) lines.push_back(each.name + ": " + each.how);
    lines.insert(lines.end(), result.strange.begin(), result.strange.end());
    details_.set(lines);
    folder_.set_text(displayText(result.folder));
    openIndex_.set_visible(files::isRegularFile(result.folder / Archive::indexName));
}

const ExportResult* ExportSheet::result() const { return std::get_if<ExportResult>(&model().exportPhase.get()); }

void ExportSheet::face(Gtk::Widget& shown, const std::string& title, const std::vector<Gtk::Button*>& visible,
                       Gtk::Button* standard) {
    const bool isNew = faces_.get_visible_child() != &shown || get_default_widget() != standard;
    faces_.set_visible_child(shown);
    if (!isNew) return;
    set_title(title);
    for (Gtk::Button* button : {&close_, &choose_, &pause_, &goOn_, &stop_, &reveal_, &finish_})
        button->set_visible(std::ranges::count(visible, button) > 0);
    if (standard) {
        set_default_widget(*standard);
    } else {
        unset_default_widget();
    }
    set_focus(*visible.back());
    set_deletable(&shown != &progress_);
    fit();
}

void ExportSheet::cancel() {
    if (model().isExporting()) {
        model().cancelExport();
    } else {
        SheetWindow::cancel();
    }
}

bool ExportSheet::on_close_request() {
    if (!model().isExporting()) SheetWindow::cancel();
    return true;
}

}   // namespace ostrel
