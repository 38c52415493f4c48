// ostrel-export: what the window's export does, without a window. For servers, scheduled jobs and tests.

#include "app/AppSettings.h"
#include "app/ExportPlan.h"
#include "core/export/Exporter.h"
#include "core/export/Update.h"
#include "core/mailstore/MailScanner.h"
#include "core/selection/MessageFilter.h"
#include "platform/Files.h"
#include "platform/NetworkWall.h"
#include "platform/Translation.h"
#include "render/engine/HeadlessEngine.h"
#include "render/loop/MainLoop.h"
#include "render/print/WebPDFRenderer.h"
#include "tools/ProgressLine.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace ostrel {
namespace {

namespace fs = std::filesystem;
using i18n::filled;
using i18n::tr;
using i18n::trCount;

enum ExitStatus { everyMessageExported = 0, someFailed = 1, couldNotRun = 2 };

Instant now() { return std::chrono::time_point_cast<Instant::duration>(std::chrono::system_clock::now()); }

MailIndex scan(const fs::path& folder, const std::stop_token& stop, const SummaryCache::Place& summaries) {
    ProgressLine progress;
    return MailScanner::scan(
        folder, ExportPlan::localAccountLabel(),
        [&](std::size_t found) { progress.show(trCount("Reading the mail folder: %lld messages", found)); },
        [&] { return stop.stop_requested(); }, summaries);
}

// Everything a person needs to know beyond the folder's path, on standard error.
ExitStatus report(const ExportResult& result, std::size_t total, std::size_t unreadable) {
    for (const ExportResult::Failure& failure : result.failed) {
        std::cerr << filled(tr("Failed: %@: %@"), oneLine(failure.name), oneLine(failure.reason)) << '\n';
    }
    for (const ExportResult::Simplified& each : result.simplified)
        std::cerr << filled(tr("Simplified: %@: %@"), oneLine(each.name), oneLine(each.how)) << '\n';
    for (const std::string& name : result.strange)
        std::cerr << filled(tr("Not of this export, left alone: %@"), oneLine(name)) << '\n';
    std::cerr << filled(tr("Exported %lld of %lld messages."), result.exported, total) << '\n';
    if (result.held > 0) std::cerr << trCount("Already in the export: %lld", result.held) << '\n';
    if (result.attachments > 0) std::cerr << trCount("%lld attachments saved", result.attachments) << '\n';
    if (!result.simplified.empty())
        std::cerr << trCount("Messages printed in a simpler form: %lld", result.simplified.size()) << '\n';
    if (!result.trouble.empty()) std::cerr << result.trouble << '\n';
    if (!result.failed.empty()) std::cerr << trCount("Messages that failed: %lld", result.failed.size()) << '\n';
    if (unreadable > 0) std::cerr << trCount("Damaged files skipped: %lld", unreadable) << '\n';
    if (!result.stopped.empty())
        std::cerr << result.stopped << ' ' << trCount("%lld messages were not tried.", result.notTried) << '\n';
    if (result.cancelled)
        std::cerr << tr("Cancelled: the messages above are complete, the rest was not begun.") << '\n';
    return result.failed.empty() && !result.cancelled ? everyMessageExported : someFailed;
}

// What was asked for: a new folder in the destination, or the update of one.
struct Command {
    fs::path mailFolder, folder;
    bool isUpdate = false;
};

// One run of the program, in two halves: to look at the mail and at the export needs no engine, which takes longer to
// start than both when nothing is new.
class Job {
public:
    // Before the engine starts, which moves the program to another home. Nothing is printed any more when noEngine is
    // requested.
    Job(Command command, std::stop_token stop, std::stop_token noEngine)
        : command_(std::move(command)),
          stop_(std::move(stop)),
          noEngine_(std::move(noEngine)),
          settings_(AppSettings::load(SettingsStore::forUser())) {}

    void prepare() {
        index_ = scan(command_.mailFolder, stop_, summaries_);
        if (!command_.isUpdate) {
            messages_ = MessageFilter{.skipDuplicates = settings_.skipDuplicates}.apply(index_.messages, calendar_);
            return;
        }
        // Of duplicates an update prefers the one that the export has: it gets them all.
        for (const MessageSummary& message : index_.messages) messages_.push_back(&message);
        update_.emplace(Update::Request{command_.folder, messages_, ExportPlan::mailboxNames(index_), plan(),
                                        settings_.skipDuplicates},
                        stop_);
    }
    bool needsEngine() const { return !update_ || update_->due() > 0; }

    ExitStatus run() {
        std::optional<WebPDFRenderer> renderer;
        if (needsEngine()) renderer.emplace(settings_.paper, noEngine_);
        std::optional<std::string> indexTrouble;
        const ExportResult result = [&] {
            ProgressLine progress;
            try {
                return exportMessages(renderer ? &*renderer : nullptr, [&](const ExportProgress& at) {
                    progress.show(filled(tr("%lld of %lld"), at.done, at.total) + "  " + at.current);
                });
            } catch (const IndexError& error) {
                indexTrouble = error.what();
                return error.result;
            }
        }();
        std::cout << result.folder.native() << std::endl;
        const ExitStatus status = report(result, update_ ? update_->due() : messages_.size(), index_.unreadable);
        if (!indexTrouble) return status;
        std::cerr << "ostrel-export: " << oneLine(*indexTrouble) << '\n';
        return couldNotRun;
    }

private:
    ExportSettings plan() const {
        ExportSettings plan = ExportPlan::settings(settings_, now(), calendar_);
        plan.mailFolder = index_.root;
        return plan;
    }
    ExportResult exportMessages(PDFRendering* renderer, const std::function<void(const ExportProgress&)>& progress) {
        if (update_) return update_->run(renderer, progress, stop_);
        return Exporter::run(messages_, ExportPlan::mailboxNames(index_), command_.folder, plan(), *renderer, progress,
                             stop_);
    }

    const Command command_;
    const std::stop_token stop_, noEngine_;
    const SummaryCache::Place summaries_{SummaryCache::usersFolder(), now()};
    const AppSettings settings_;
    const Calendar calendar_ = Calendar::current();
    MailIndex index_;
    std::vector<const MessageSummary*> messages_;
    std::optional<Update> update_;
};

std::optional<Command> commandOf(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    const bool isUpdate = !words.empty() && words.front() == "--update";
    if (words.size() != (isUpdate ? 3U : 2U)) return std::nullopt;
    return Command{words[words.size() - 2], words.back(), isUpdate};
}

ExitStatus run(const Command& command, bool isWalledOff) {
    if (const auto refused = MailScanner::checkAccess(command.mailFolder))
        throw MailAccessError(*refused, command.mailFolder);
    if (const auto refused = ExportPlan::refusal(command.folder, command.mailFolder))
        throw std::runtime_error(*refused);
    std::stop_source cancel, noEngine;
    mainLoop::onInterrupt([&cancel] { cancel.request_stop(); });
    Job job(command, cancel.get_token(), noEngine.get_token());
    ExitStatus status = couldNotRun;
    // A new export starts its engine first: that may say that nothing can be printed.
    if (command.isUpdate) mainLoop::runBeside([&] { job.prepare(); });
    if (!job.needsEngine()) {
        mainLoop::runBeside([&] { status = job.run(); });
        return status;
    }
    const HeadlessEngine engine([&] {
        std::cerr << tr("The display was lost, and nothing can be printed without it.") << '\n';
        cancel.request_stop();
        noEngine.request_stop();
    });
    if (!isWalledOff)
        std::cerr << tr("This system cannot close the network to a program: only Ostrel’s own rules do.") << '\n';
    if (!engine.isSandboxed())
        std::cerr << tr("The web engine runs without its sandbox: this system does not allow one.") << '\n';
    mainLoop::runBeside([&] {
        if (!command.isUpdate) job.prepare();
        status = job.run();
    });
    return status;
}

}   // namespace
}   // namespace ostrel

int main(int argc, char** argv) {
    using namespace ostrel;
    const bool isWalledOff = networkWall::raise();
    i18n::start();
    const auto command = commandOf(argc, argv);
    if (!command) {
        std::cerr << tr("usage: ostrel-export MAILFOLDER DESTINATION, or ostrel-export --update MAILFOLDER EXPORT")
                  << '\n';
        return couldNotRun;
    }
    try {
        return run(*command, isWalledOff);
    } catch (const std::exception& error) {
        std::cerr << "ostrel-export: " << error.what() << '\n';
        return couldNotRun;
    }
}
