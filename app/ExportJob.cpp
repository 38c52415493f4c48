#include "app/ExportJob.h"

#include "app/ExportPlan.h"
#include "core/export/Update.h"
#include "platform/Translation.h"

#include <cstddef>
#include <exception>
#include <utility>
#include <vector>

namespace ostrel {

namespace {

ExportResult runUpdate(const ExportJob& job, const std::function<void(const ExportProgress&)>& progress,
                       const std::stop_token& cancel) {
    const std::vector<MessageSummary>& mail = job.messages.index()->messages;
    std::vector<bool> isWanted(mail.size());
    for (std::size_t row = 0; row < job.messages.size(); ++row) isWanted[job.messages.position(row)] = true;
    Update::Request request{
        job.folder,
        {},
        ExportPlan::mailboxNames(*job.messages.index()),
        job.settings,
        job.skipsDuplicates,
        [&](const MessageSummary& message) { return isWanted[static_cast<std::size_t>(&message - mail.data())]; }};
    request.messages.reserve(mail.size());
    for (const MessageSummary& message : mail) request.messages.push_back(&message);
    return Update(std::move(request), cancel).run(job.renderer.get(), progress, cancel);
}

ExportResult runExport(const ExportJob& job, const std::function<void(const ExportProgress&)>& progress,
                       const std::stop_token& cancel) {
    std::vector<const MessageSummary*> messages;   // the list keeps them
    messages.reserve(job.messages.size());
    for (std::size_t row = 0; row < job.messages.size(); ++row) messages.push_back(&job.messages[row]);
    return Exporter::run(std::move(messages), ExportPlan::mailboxNames(*job.messages.index()), job.folder, job.settings,
                         *job.renderer, progress, cancel);
}

}   // namespace

ExportOutcome ExportJob::run(const std::function<void(const ExportProgress&)>& progress,
                             const std::stop_token& cancel) const {
    try {
        if (kind == Kind::update) return runUpdate(*this, progress, cancel);
        if (kind == Kind::ask) {
            if (auto unfinished = Update::unfinishedIn(folder)) return UnfinishedExport{std::move(*unfinished)};
        }
        return runExport(*this, progress, cancel);
    } catch (const UpdateError& error) {
        return std::string(error.what());
    } catch (const std::exception& error) {
        return i18n::filled(i18n::tr("The export couldn’t be saved there: %@"), error.what());
    }
}

}   // namespace ostrel
