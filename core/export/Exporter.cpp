#include "core/export/Exporter.h"

#include "core/export/FileNamer.h"
#include "core/mailstore/Emlx.h"
#include "core/page/MessageHTML.h"
#include "core/selection/Threads.h"
#include "platform/Files.h"
#include "platform/LocaleFormat.h"
#include "platform/Translation.h"

#include <algorithm>
#include <new>
#include <optional>

namespace ostrel {

namespace {

namespace fs = std::filesystem;

constexpr const char* indexName = "index.csv";

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    try {
        for (const fs::path& name : files::list(folder)) names.push_back(displayText(name));
    } catch (const FileError&) {
        // Nothing can be in the way, then; creating the folder tells what is wrong.
    }
    return names;
}

fs::path makeExportFolder(const fs::path& destination, const std::string& wishedName) {
    FileNamer names(namesIn(destination));
    fs::path folder;
    do folder = destination / names.unique(wishedName, "");
    while (files::exists(folder));   // its names could not be listed, or the disk takes two names for one
    files::createFolders(folder);
    return folder;
}

// One run: what it was asked for and what it has done so far.
class Run {
public:
    Run(const std::map<std::string, std::string>& mailboxNames, const ExportSettings& settings, PDFRendering& renderer,
        const fs::path& folder)
        : mailboxNames_(mailboxNames),
          settings_(settings),
          renderer_(renderer),
          index_(settings.csv ? CSVIndex::begin(settings.csvHeaders) : std::string()) {
        result_.folder = folder;
    }

    // Throws RenderCancelled when the renderer was cancelled; any other trouble of the message is noted.
    void exportMessage(const MessageSummary& summary, const std::string& thread) {
        const std::string base = names_.unique(FileNamer::messageBase(summary.date, summary.fromLine(), summary.subject,
                                                                      settings_.labels.noSubject, settings_.calendar),
                                               "");
        CSVIndex::Row row = beginRow(summary, thread);
        try {
            exportParts(summary, base, row);
            ++result_.exported;
        } catch (const RenderCancelled&) {
            throw;
        } catch (const std::bad_alloc&) {
            noteFailure(summary, row, i18n::tr("There is not enough memory for this message."));
        } catch (const std::exception& error) {
            noteFailure(summary, row, error.what());
        }
        if (settings_.csv) CSVIndex::append(index_, row);
    }

    void markCancelled() { result_.cancelled = true; }

    ExportResult finish() {
        if (settings_.csv) {
            try {
                files::writeAtomically(result_.folder / indexName, bytesOf(index_));
            } catch (const FileError& error) {
                throw IndexError(error, std::move(result_));
            }
        }
        return std::move(result_);
    }

private:
    const std::string& mailboxName(const MessageSummary& summary) const {
        static const std::string none;
        const auto found = mailboxNames_.find(summary.mailboxID);
        return found == mailboxNames_.end() ? none : found->second;
    }

    CSVIndex::Row beginRow(const MessageSummary& summary, const std::string& thread) const {
        CSVIndex::Row row;
        row.date = settings_.csvDate(summary.date);
        row.from = MailMessage::line(summary.from);
        row.to = MailMessage::line(summary.to);
        row.cc = MailMessage::line(summary.cc);
        row.subject = summary.subject;
        row.mailbox = mailboxName(summary);
        row.thread = thread;
        row.messageID = summary.messageID.value_or("");
        return row;
    }

    void noteFailure(const MessageSummary& summary, CSVIndex::Row& row, const std::string& reason) {
        const std::string name = summary.subject.empty() ? displayText(summary.url.filename()) : summary.subject;
        result_.failed.push_back({name, reason});
        row.note = settings_.labels.unreadable;
    }

    // A name that nothing on the disk bears. "Scan.pdf" as a subject wants for its folder what the PDF of "Scan" is
    // called; and some disks take two names for one that we tell apart.
    std::string freeName(const std::string& wished, bool needsFolder) {
        std::string name = wished;
        while ((needsFolder && files::exists(result_.folder / name)) ||
               (settings_.pdfs && files::exists(result_.folder / (name + ".pdf")))) {
            name = names_.unique(wished, "");
        }
        return name;
    }

    void exportParts(const MessageSummary& summary, const std::string& wishedName, CSVIndex::Row& row) {
        const MailMessage message = Emlx::read(summary.url);
        const bool savesAttachments =
            settings_.attachments && std::ranges::any_of(message.attachments, &MailAttachment::isAvailable);
        const std::string base = freeName(wishedName, savesAttachments);
        if (savesAttachments) saveAttachments(message, base, row);
        if (!std::ranges::all_of(message.attachments, &MailAttachment::isAvailable)) {
            row.note = settings_.labels.attachments + ": " + settings_.labels.missing;
        }
        if (settings_.pdfs) print(message, summary, base, row);
    }

    void saveAttachments(const MailMessage& message, const std::string& base, CSVIndex::Row& row) {
        const fs::path folder = result_.folder / base;
        files::createFolder(folder);
        FileNamer names;
        for (const MailAttachment& attachment : message.attachments) {
            if (!attachment.isAvailable()) continue;
            fs::path target;
            do target = folder / names.uniqueFileName(attachment.filename);
            while (files::exists(target));
            if (const auto* file = std::get_if<fs::path>(&attachment.source)) {
                files::copyAtomically(*file, target);
            } else {
                files::writeAtomically(target, std::get<Bytes>(attachment.source).view());
            }
            ++result_.attachments;
            ++row.attachments;
        }
        row.folder = base;
    }

    void print(const MailMessage& message, const MessageSummary& summary, const std::string& base, CSVIndex::Row& row) {
        const Instant date = message.date.value_or(summary.date);
        const std::optional<std::string> folder = row.folder.empty() ? std::nullopt : std::optional(row.folder);
        const Page page =
            MessageHTML::page(message, mailboxName(summary), settings_.dateText(date), folder, settings_.labels);
        const DocumentInfo info{message.subject.empty() ? settings_.labels.noSubject : message.subject,
                                MailMessage::line(message.from), date};
        renderer_.renderPDF(page, result_.folder / (base + ".pdf"), info);
        row.pdf = base + ".pdf";
    }

    const std::map<std::string, std::string>& mailboxNames_;
    const ExportSettings& settings_;
    PDFRendering& renderer_;
    FileNamer names_{{indexName}};
    std::string index_;   // as it will be in the file: rows of so many texts each would take five times the memory
    ExportResult result_;
};

}   // namespace

ExportSettings::ExportSettings(std::string folderName_) : folderName(std::move(folderName_)) {
    const Calendar zone = calendar;
    dateText = [zone](Instant date) { return locale::dateAndTime(date, locale::DateStyle::abbreviated, zone); };
    csvDate = [zone](Instant date) { return isoDateTime(date, zone); };
}

ExportResult Exporter::run(std::vector<const MessageSummary*> messages,
                           const std::map<std::string, std::string>& mailboxNames, const fs::path& into,
                           const ExportSettings& settings, PDFRendering& renderer,
                           const std::function<void(const ExportProgress&)>& progress, std::stop_token cancel) {
    const fs::path folder = makeExportFolder(into, settings.folderName);
    std::ranges::stable_sort(messages, {}, &MessageSummary::date);
    const std::vector<std::string> threads = Threads::assign(messages);
    Run run(mailboxNames, settings, renderer, folder);
    try {
        for (std::size_t done = 0; done < messages.size(); ++done) {
            if (cancel.stop_requested()) throw RenderCancelled();
            progress({done, messages.size(), messages[done]->subject});
            run.exportMessage(*messages[done], threads[done]);
        }
        progress({messages.size(), messages.size(), ""});
    } catch (const RenderCancelled&) {
        run.markCancelled();
    }
    return run.finish();
}

}   // namespace ostrel
