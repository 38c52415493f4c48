// ostrel-export: what the window's export does, without a window. For servers, scheduled jobs and tests.

#include "app/AppSettings.h"
#include "app/ExportPlan.h"
#include "core/export/Exporter.h"
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
#include <iostream>
#include <optional>
#include <stop_token>
#include <string>

namespace ostrel {
namespace {

namespace fs = std::filesystem;
using i18n::filled;
using i18n::tr;
using i18n::trCount;

enum ExitStatus { everyMessageExported = 0, someFailed = 1, couldNotRun = 2 };

Instant now() { return std::chrono::time_point_cast<Instant::duration>(std::chrono::system_clock::now()); }

MailIndex scan(const fs::path& folder, const std::stop_token& stop) {
    ProgressLine progress;
    return MailScanner::scan(
        folder, ExportPlan::localAccountLabel(),
        [&](std::size_t found) { progress.show(trCount("Reading the mail folder: %lld messages", found)); },
        [&] { return stop.stop_requested(); });
}

// Everything a person needs to know beyond the folder's path, on standard error.
ExitStatus report(const ExportResult& result, std::size_t total, std::size_t unreadable) {
    for (const ExportResult::Failure& failure : result.failed) {
        std::cerr << filled(tr("Failed: %@: %@"), oneLine(failure.name), oneLine(failure.reason)) << '\n';
    }
    std::cerr << filled(tr("Exported %lld of %lld messages."), result.exported, total) << '\n';
    if (result.attachments > 0) std::cerr << trCount("%lld attachments saved", result.attachments) << '\n';
    if (!result.failed.empty()) std::cerr << trCount("Messages that failed: %lld", result.failed.size()) << '\n';
    if (unreadable > 0) std::cerr << trCount("Damaged files skipped: %lld", unreadable) << '\n';
    if (result.cancelled)
        std::cerr << tr("Cancelled: the messages above are complete, the rest was not begun.") << '\n';
    return result.failed.empty() && !result.cancelled ? everyMessageExported : someFailed;
}

ExitStatus exportFolder(const fs::path& mailFolder, const fs::path& destination, const std::stop_token& stop) {
    const AppSettings settings = AppSettings::load(SettingsStore::forUser());
    const Calendar calendar = Calendar::current();
    const MailIndex index = scan(mailFolder, stop);
    MessageFilter filter;
    filter.skipDuplicates = settings.skipDuplicates;
    const std::vector<const MessageSummary*> messages = filter.apply(index.messages, calendar);

    WebPDFRenderer renderer(settings.paper, stop);
    std::optional<std::string> indexTrouble;
    const ExportResult result = [&] {
        ProgressLine progress;
        try {
            return Exporter::run(
                messages, ExportPlan::mailboxNames(index), destination, ExportPlan::settings(settings, now(), calendar),
                renderer,
                [&](const ExportProgress& at) {
                    progress.show(filled(tr("%lld of %lld"), at.done, at.total) + "  " + at.current);
                },
                stop);
        } catch (const IndexError& error) {
            indexTrouble = error.what();
            return error.result;
        }
    }();
    std::cout << result.folder.native() << std::endl;
    const ExitStatus status = report(result, messages.size(), index.unreadable);
    if (!indexTrouble) return status;
    std::cerr << "ostrel-export: " << oneLine(*indexTrouble) << '\n';
    return couldNotRun;
}

}   // namespace
}   // namespace ostrel

int main(int argc, char** argv) {
    using namespace ostrel;
    const bool isWalledOff = networkWall::raise();
    i18n::start();
    if (argc != 3) {
        std::cerr << tr("usage: ostrel-export MAILFOLDER DESTINATION") << '\n';
        return couldNotRun;
    }
    try {
        if (const auto refused = MailScanner::checkAccess(argv[1])) throw MailAccessError(*refused, argv[1]);
        std::stop_source cancel;
        mainLoop::onInterrupt([&cancel] { cancel.request_stop(); });
        const HeadlessEngine engine([&cancel] {
            std::cerr << tr("The display was lost, and nothing can be printed without it.") << '\n';
            cancel.request_stop();
        });
        if (!isWalledOff)
            std::cerr << tr("This system cannot close the network to a program: only Ostrel’s own rules do.") << '\n';
        if (!engine.isSandboxed())
            std::cerr << tr("The web engine runs without its sandbox: this system does not allow one.") << '\n';
        ExitStatus status = couldNotRun;
        mainLoop::runBeside([&] { status = exportFolder(argv[1], argv[2], cancel.get_token()); });
        return status;
    } catch (const std::exception& error) {
        std::cerr << "ostrel-export: " << error.what() << '\n';
        return couldNotRun;
    }
}
