#include "app/AppModel.h"

#include "app/ExportPlan.h"
#include "app/ForeignPictures.h"
#include "app/Gate.h"
#include "app/PreparedIndex.h"
#include "core/mailstore/Emlx.h"
#include "core/page/MessageHTML.h"
#include "platform/Memory.h"
#include "platform/Translation.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <set>
#include <utility>

namespace ostrel {

namespace {

using i18n::tr;

// Everything the page of a message is made of, taken on the main thread for another one.
struct PreviewRequest {
    std::filesystem::path file;
    Instant date;   // of messages that have none
    std::string mailbox;
    PageLabels labels;
    Calendar calendar;
    std::shared_ptr<ForeignPictures> foreignPictures;
};

std::string previewPage(const PreviewRequest& request) {
    try {
        const MailMessage message = Emlx::read(request.file);
        const std::string date = ExportPlan::dateText(message.date.value_or(request.date), request.calendar);
        const Page page = MessageHTML::page(message, request.mailbox, date, std::nullopt, request.labels);
        const auto shown = request.foreignPictures->shown(page);
        return wholeHTML(shown ? *shown : page);
    } catch (const std::exception&) {
        return "<p style=\"font:13px -apple-system;color:#888\">" + MessageHTML::escape(request.labels.unreadable) +
               "</p>";
    }
}

std::set<std::string> mailboxIDs(const MailIndex& index) {
    std::set<std::string> ids;
    for (const MailAccount& account : index.accounts) {
        for (const Mailbox& mailbox : account.mailboxes) ids.insert(mailbox.id);
    }
    return ids;
}

// What came of a scan: an index, or why there is none.
using ScanOutcome = std::variant<MailAccessError::Kind, std::shared_ptr<const PreparedIndex>>;

}   // namespace

AppModel::AppModel(Surroundings surroundings)
    : settings(AppSettings::load(surroundings.store)),
      filter(MessageFilter{.skipDuplicates = settings.get().skipDuplicates}),
      sortOrder(SortOrder{{SortKey::date, false}}),
      surroundings_(std::move(surroundings)),
      foreignPictures_(std::make_shared<ForeignPictures>()),
      self_(std::make_shared<AppModel*>(this)) {
    // The first to observe, so that every other observer finds the model settled.
    reactions_ = {settings.observe([this] { keepSettings(); }), filter.observe([this] { recomputeMessages(); }),
                  index.observe([this] { recomputeMessages(); }), sortOrder.observe([this] { resortMessages(); }),
                  selection.observe([this] { loadPreview(); })};
}

AppModel::~AppModel() {
    self_.reset();
    for (std::stop_source* task : {&scan_, &preview_, &export_, &verification_}) task->request_stop();
}

template <class Work, class Done>
void AppModel::inBackground(const std::stop_token& stop, Work work, Done done) {
    const auto comeBack = [&tasks = surroundings_.tasks, model = std::weak_ptr(self_), stop, work = std::move(work),
                           done = std::move(done)] {
        if (stop.stop_requested()) return;
        const auto result = std::make_shared<decltype(work())>(work());
        tasks.onMain([model, stop, done, result] {
            if (stop.stop_requested()) return;
            if (const auto alive = model.lock()) done(**alive, std::move(*result));
        });
    };
    surroundings_.tasks.inBackground(comeBack);
}

template <class Report, class Apply>
std::function<void(const Report&)> AppModel::reporting(const std::stop_token& stop, Apply apply) {
    struct Newest {
        std::mutex lock;
        std::optional<Report> report;   // none: the main thread has taken the last one
    };
    return [&tasks = surroundings_.tasks, model = std::weak_ptr(self_), stop, apply,
            newest = std::make_shared<Newest>()](const Report& report) {
        {
            const std::lock_guard held(newest->lock);
            if (std::exchange(newest->report, report)) return;   // on its way already
        }
        tasks.onMain([model, stop, apply, newest] {
            const auto taken = [&] {
                const std::lock_guard held(newest->lock);
                return std::exchange(newest->report, std::nullopt);
            }();
            if (const auto alive = model.lock(); alive && taken && !stop.stop_requested()) apply(**alive, *taken);
        });
    };
}

// ---- The mail folder ----

void AppModel::start() {
    if (!settings.get().onboardingDone) sheet.set(Sheet::welcome);
    reload();
}

void AppModel::reload() {
    scan_.request_stop();
    scan_ = std::stop_source();
    const auto stop = scan_.get_token();
    const auto root = settings.get().mailFolderURL();
    own_.state.set({MailState::Kind::checking});
    inBackground(
        stop, [root] { return MailScanner::checkAccess(root); },
        [stop, root](AppModel& model, std::optional<MailAccessError::Kind> refused) {
            if (refused) return model.refuse(*refused);
            model.scan(stop, root);
        });
}

void AppModel::cancelScan() {
    const auto kind = state.get().kind;
    if (kind != MailState::Kind::checking && kind != MailState::Kind::scanning) return;
    scan_.request_stop();
    own_.state.set({index.get() ? MailState::Kind::ready : MailState::Kind::stopped});
}

void AppModel::refuse(MailAccessError::Kind why) {
    own_.state.set(
        {why == MailAccessError::Kind::noPermission ? MailState::Kind::needsAccess : MailState::Kind::noMail});
    if (why != MailAccessError::Kind::notFound || !surroundings_.findMailFolders) return;
    inBackground(scan_.get_token(), surroundings_.findMailFolders,
                 [](AppModel& model, std::vector<std::filesystem::path> found) {
                     model.own_.foundFolders.set(std::move(found));
                 });
}

std::optional<SummaryCache::Place> AppModel::summaryPlace() const {
    if (!surroundings_.summaries) return std::nullopt;
    return SummaryCache::Place{*surroundings_.summaries, surroundings_.now()};
}

void AppModel::scan(const std::stop_token& stop, const std::filesystem::path& root) {
    own_.state.set({MailState::Kind::scanning, 0});
    const auto progress = reporting<std::size_t>(stop, [](AppModel& model, std::size_t found) {
        if (model.state.get().kind == MailState::Kind::scanning)
            model.own_.state.set({MailState::Kind::scanning, found});
    });
    inBackground(
        stop,
        [stop, root, progress, label = ExportPlan::localAccountLabel(), before = prepared_,
         cache = summaryPlace()]() -> ScanOutcome {
            try {
                auto found = std::make_shared<MailIndex>(MailScanner::scan(
                    root, label, progress, [&] { return stop.stop_requested(); }, cache));
                // A folder that has not changed keeps its index, and the windows what they show of it.
                if (stop.stop_requested() || (before && *before->index() == *found)) return before;
                memory::returnUnused();   // what the scan has left: to prepare the index takes as much again
                return std::make_shared<const PreparedIndex>(std::move(found));
            } catch (const MailAccessError& error) {
                return error.kind;
            } catch (const std::exception&) {
                return MailAccessError::Kind::notFound;   // more messages than there is memory for
            }
        },
        [](AppModel& model, ScanOutcome outcome) {
            if (const auto* refused = std::get_if<MailAccessError::Kind>(&outcome)) return model.refuse(*refused);
            model.adopt(std::get<std::shared_ptr<const PreparedIndex>>(std::move(outcome)));
        });
}

void AppModel::adopt(std::shared_ptr<const PreparedIndex> prepared) {
    if (filter.get().mailboxes) {
        MessageFilter remaining = filter.get();
        const auto known = mailboxIDs(*prepared->index());
        std::erase_if(*remaining.mailboxes, [&](const auto& id) { return !known.contains(id); });
        filter.set(std::move(remaining));
    }
    auto retired = std::exchange(prepared_, prepared);
    order_ = prepared->sorted(sortOrder.get());
    own_.index.set(prepared->index());
    // To free a large index takes longer than a picture on the screen. What it leaves between the next one's memory,
    // the system gets back only when asked to take it.
    surroundings_.tasks.inBackground([retired = std::move(retired)]() mutable {
        retired.reset();
        memory::returnUnused();
    });
    own_.state.set({MailState::Kind::ready});
}

void AppModel::becameActive() {
    const auto kind = state.get().kind;
    if (kind == MailState::Kind::needsAccess || kind == MailState::Kind::noMail) reload();
}

void AppModel::chooseFolder() {
    const Desktop::FolderRequest request{
        .message =
            tr("Choose a Mail folder: a copy of ~/Library/Mail, a backup of it, or one mailbox (.mbox) inside it."),
        .prompt = tr("Use This Folder")};
    surroundings_.desktop.chooseFolder(
        request, [model = std::weak_ptr(self_)](const std::optional<std::filesystem::path>& folder) {
            if (const auto alive = model.lock(); alive && folder) (*alive)->openFolder(*folder);
        });
}

void AppModel::openFolder(const std::filesystem::path& folder) { readFolder(folder.native()); }

void AppModel::useDefaultFolder() { readFolder(std::nullopt); }

void AppModel::readFolder(std::optional<std::string> folder) {
    AppSettings changed = settings.get();
    changed.mailFolder = std::move(folder);
    settings.set(std::move(changed));
    setAllMailboxes(true);
    reload();
}

void AppModel::keepSettings() {
    AppSettings::save(settings.get(), surroundings_.store);
    MessageFilter changed = filter.get();
    changed.skipDuplicates = settings.get().skipDuplicates;
    filter.set(std::move(changed));
}

// ---- The list ----

void AppModel::recomputeMessages() {
    own_.messages.set(prepared_ ? prepared_->filtered(filter.get(), surroundings_.calendar(), order_) : MessageList());
    if (selection.get() && !messages.get().find(*selection.get())) selection.set(std::nullopt);
}

void AppModel::resortMessages() {
    if (!prepared_) return;
    order_ = prepared_->sorted(sortOrder.get());
    own_.messages.set(prepared_->resorted(messages.get(), order_));
}

void AppModel::setMailbox(const std::string& id, bool on) {
    const auto all = index.get() ? mailboxIDs(*index.get()) : std::set<std::string>();
    MessageFilter changed = filter.get();
    std::set<std::string> chosen = changed.mailboxes.value_or(all);
    if (on) {
        chosen.insert(id);
    } else {
        chosen.erase(id);
    }
    changed.mailboxes = std::move(chosen);
    if (index.get() && changed.mailboxes->size() == all.size()) changed.mailboxes.reset();
    filter.set(std::move(changed));
}

void AppModel::setAllMailboxes(bool on) {
    MessageFilter changed = filter.get();
    changed.mailboxes = on ? std::nullopt : std::optional<std::set<std::string>>(std::in_place);
    filter.set(std::move(changed));
}

void AppModel::showOnlyMailbox(const std::string& id) {
    MessageFilter changed = filter.get();
    changed.mailboxes = {id};
    if (index.get() && mailboxIDs(*index.get()) == *changed.mailboxes) changed.mailboxes.reset();
    filter.set(std::move(changed));
}

void AppModel::clearFilters() {
    const auto clear = [this](auto MessageFilter::*field) {
        MessageFilter changed = filter.get();
        changed.*field = {};
        filter.set(std::move(changed));
    };
    clear(&MessageFilter::startDay);
    clear(&MessageFilter::endDay);
    clear(&MessageFilter::person);
    clear(&MessageFilter::subject);
}

// ---- The selected message ----

const MessageSummary* AppModel::selectedSummary() const {
    const auto row = selection.get() ? messages.get().find(*selection.get()) : std::nullopt;
    return row ? &messages.get()[*row] : nullptr;
}

std::string AppModel::mailboxName(const std::string& mailboxID) const {
    const Mailbox* mailbox = index.get() ? index.get()->mailbox(mailboxID) : nullptr;
    return mailbox ? mailbox->name : std::string();
}

void AppModel::loadPreview() {
    preview_.request_stop();
    preview_ = std::stop_source();
    const MessageSummary* summary = selectedSummary();
    if (!summary) {
        own_.previewHTML.set(std::nullopt);
        own_.isBuildingPreview.set(false);
        return;
    }
    own_.isBuildingPreview.set(true);
    inBackground(
        preview_.get_token(),
        [request = PreviewRequest{summary->url, summary->date, mailboxName(summary->mailboxID),
                                  ExportPlan::pageLabels(), surroundings_.calendar(), foreignPictures_}] {
            return previewPage(request);
        },
        [](AppModel& model, std::string page) {
            model.own_.previewHTML.set(std::move(page));
            model.own_.isBuildingPreview.set(false);
        });
}

void AppModel::showInFinder() {
    if (const MessageSummary* summary = selectedSummary()) surroundings_.desktop.reveal(summary->url);
}

// ---- Export ----

bool AppModel::isExporting() const { return std::holds_alternative<ExportProgress>(exportPhase.get()); }

bool AppModel::canExport() const {
    return state.get().kind == MailState::Kind::ready && !messages.get().empty() && !isExporting();
}

void AppModel::openExport() {
    if (state.get().kind != MailState::Kind::ready || messages.get().empty()) return;
    // A run that is under way keeps its face: there would be no other way to cancel it.
    if (!isExporting()) own_.exportPhase.set({});
    sheet.set(Sheet::export_);
}

void AppModel::chooseDestinationAndExport() {
    const Desktop::FolderRequest request{
        .message = tr("Choose where to put the export. Ostrel makes a new folder there."),
        .prompt = tr("Export Here"),
        .canCreate = true};
    surroundings_.desktop.chooseFolder(
        request, [model = std::weak_ptr(self_)](const std::optional<std::filesystem::path>& folder) {
            if (const auto alive = model.lock(); alive && folder) (*alive)->startExport(*folder);
        });
}

void AppModel::startExport(const std::filesystem::path& destination) { begin(ExportJob::Kind::ask, destination); }

void AppModel::answerUnfinished(Unfinished answer) {
    const auto folder = unfinished.get();
    own_.unfinished.set(std::nullopt);
    if (folder && answer == Unfinished::goOn) begin(ExportJob::Kind::update, *folder);
    if (folder && answer == Unfinished::exportAnew) begin(ExportJob::Kind::anew, destination_);
}

void AppModel::openUpdate() {
    if (!canExport()) return;
    own_.exportPhase.set({});
    sheet.set(Sheet::update);
}

void AppModel::askForExport(std::string message, std::string prompt,
                            void (AppModel::*chosen)(const std::filesystem::path&)) {
    surroundings_.desktop.chooseFolder(
        {.message = std::move(message), .prompt = std::move(prompt)},
        [model = std::weak_ptr(self_), chosen](const std::optional<std::filesystem::path>& folder) {
            if (const auto alive = model.lock(); alive && folder) ((*alive)->*chosen)(*folder);
        });
}

void AppModel::chooseExportAndUpdate() {
    askForExport(tr("Choose the folder of the export to bring up to date."), tr("Update This Export"),
                 &AppModel::updateExport);
}

void AppModel::updateExport(const std::filesystem::path& folder) {
    if (!canExport()) return;
    sheet.set(Sheet::update);
    begin(ExportJob::Kind::update, folder);
}

void AppModel::begin(ExportJob::Kind kind, const std::filesystem::path& folder) {
    if (isExporting() || !messages.get().index()) return;
    if (auto refused = ExportPlan::refusal(folder, settings.get().mailFolderURL())) {
        problem.set(std::move(refused));
        return;
    }
    export_ = std::stop_source();
    const auto cancel = export_.get_token();
    ExportJob job{kind,
                  folder,
                  messages.get(),
                  settings.get().skipDuplicates,
                  ExportPlan::settings(settings.get(), surroundings_.now(), surroundings_.calendar()),
                  surroundings_.makeRenderer(settings.get().paper)};
    if (prepared_ && kind == ExportJob::Kind::update) {
        // Of duplicates the one that the export has is preferred, not the one that is shown.
        MessageFilter all = filter.get();
        all.skipDuplicates = false;
        job.messages = prepared_->filtered(all, surroundings_.calendar(), order_);
    }
    if (index.get()) job.settings.mailFolder = index.get()->root;
    gate_ = std::make_shared<Gate>();
    stayAwake();
    // How much an update has to do shows when both sides have been looked at.
    const std::size_t total = kind == ExportJob::Kind::update ? 0 : job.messages.size();
    own_.exportPhase.set(ExportProgress{0, total, ""});
    const auto progress = reporting<ExportProgress>({}, [](AppModel& model, const ExportProgress& at) {
        if (model.isExporting()) model.own_.exportPhase.set(at);
    });
    // Cancelled runs come back too, with what they did: hence no stop token for the way.
    inBackground(
        {},
        [job = std::move(job), progress, cancel, gate = gate_] {
            const auto pausing = [&](const ExportProgress& at) {
                progress(at);
                gate->pass(cancel);
            };
            return job.run(pausing, cancel);
        },
        [folder](AppModel& model, ExportOutcome outcome) { model.finishExport(std::move(outcome), folder); });
}

void AppModel::finishExport(ExportOutcome outcome, const std::filesystem::path& folder) {
    if (auto* result = std::get_if<ExportResult>(&outcome)) {
        own_.exportPhase.set(std::move(*result));
    } else if (auto* found = std::get_if<UnfinishedExport>(&outcome)) {
        destination_ = folder;
        own_.exportPhase.set({});
        own_.unfinished.set(std::move(found->folder));
    } else {
        own_.exportPhase.set({});
        sheet.set(std::nullopt);
        problem.set(std::get<std::string>(std::move(outcome)));
    }
    own_.isPaused.set(false);
    awake_.reset();
}

void AppModel::stayAwake() { awake_ = surroundings_.desktop.keepAwake(tr("Exporting mail to PDF")); }

void AppModel::pauseExport(bool on) {
    if (!isExporting() || !own_.isPaused.set(on)) return;
    gate_->setClosed(on);
    if (on) {
        awake_.reset();
    } else {
        stayAwake();
    }
}

void AppModel::cancelExport() { export_.request_stop(); }

// ---- Verification ----

void AppModel::chooseExportAndVerify() {
    askForExport(tr("Choose the folder of the export to verify."), tr("Verify This Export"), &AppModel::verifyExport);
}

void AppModel::verifyExport(const std::filesystem::path& folder) {
    if (isExporting()) return;
    verification_.request_stop();
    verification_ = std::stop_source();
    const auto stop = verification_.get_token();
    own_.verification.set(VerificationProgress());
    sheet.set(Sheet::verification);
    const auto progress = reporting<VerificationProgress>(stop, [](AppModel& model, const VerificationProgress& at) {
        if (std::holds_alternative<VerificationProgress>(model.verification.get())) model.own_.verification.set(at);
    });
    inBackground(
        stop,
        [folder, progress, stop]() -> std::variant<Verification::Result, std::string> {
            try {
                return Verification::verify(
                    folder,
                    [&](std::size_t done, std::size_t total) {
                        progress({done, total});
                    },
                    stop);
            } catch (const std::exception& error) {
                return error.what();
            }
        },
        [folder](AppModel& model, std::variant<Verification::Result, std::string> outcome) {
            if (auto* result = std::get_if<Verification::Result>(&outcome)) {
                model.own_.verification.set(VerifiedExport{folder, std::move(*result)});
            } else {
                model.own_.verification.set({});
                model.sheet.set(std::nullopt);
                model.problem.set(std::get<std::string>(std::move(outcome)));
            }
        });
}

void AppModel::cancelVerification() {
    verification_.request_stop();
    own_.verification.set({});
    sheet.set(std::nullopt);
}

}   // namespace ostrel
