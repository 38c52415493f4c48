#include "core/export/ExportRun.h"

#include "core/mailstore/Emlx.h"
#include "core/page/MessageHTML.h"
#include "core/selection/Threads.h"
#include "platform/Files.h"
#include "platform/Translation.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <new>
#include <string_view>

namespace ostrel {

namespace {

namespace fs = std::filesystem;
using State = FiledMessage::State;

std::vector<std::string> threadsOf(const std::vector<ExportRun::Item>& items) {
    std::vector<const MessageSummary*> summaries;
    summaries.reserve(items.size());
    for (const ExportRun::Item& item : items) summaries.push_back(item.summary);
    return Threads::assign(summaries);
}

const ArchivedFile* fileOf(const FiledMessage& message, const std::string& name) {
    const auto found = std::ranges::find(message.files, name, &ArchivedFile::name);
    return found == message.files.end() ? nullptr : &*found;
}

// Page::savedFiles. saved: of the attachments that are there, in their order; or nothing.
std::vector<std::string> savedFiles(const MailMessage& message, const std::vector<ArchivedFile>& saved) {
    std::vector<std::string> names;
    auto next = saved.begin();
    for (const MailAttachment& attachment : message.attachments) {
        const bool isSaved = attachment.isAvailable() && next != saved.end();
        names.push_back(isSaved ? (next++)->name : "");
    }
    return names;
}

// The same words for every file that it happens to.
std::string causeOf(const FileError& error) {
    return error.kind == FileError::Kind::diskFull ? i18n::tr("the disk is full") : error.cause.message();
}

// The digest of a file just written; one that cannot be read again is none.
Digest digestOfWritten(const fs::path& file) {
    try {
        return sha256OfFile(file);
    } catch (const FileError&) {
        files::remove(file);
        throw;
    }
}

}   // namespace

ExportRun::ExportRun(Folder folder, std::vector<Item> items, const ExportSettings& settings)
    : folder_(std::move(folder)),
      settings_(settings),
      items_(std::move(items)),
      threads_(threadsOf(items_)),
      claims_(folder_.claims) {
    result_.folder = folder_.path;
}

ExportResult ExportRun::run(PDFRendering* renderer, const std::function<void(const ExportProgress&)>& progress,
                            const std::stop_token& cancel) {
    renderer_ = renderer;
    for (const Item& item : items_) {
        if (!item.filed.name.empty()) names_.giveAgain(wishedName(*item.summary), item.filed.name);
    }
    journal_.emplace(folder_.path / Archive::journalName);
    journal_->append(ArchiveLine::write(ArchiveLine::Beginning{folder_.isUpdate}));
    std::vector<Item*> due;
    for (Item& item : items_) {
        if (item.isDue) due.push_back(&item);
    }
    std::stop_source enough;
    const std::stop_callback onCancel(cancel, [&] { enough.request_stop(); });
    Steps<Made> steps;
    steps.work = [&](std::size_t place) {
        Turns::Turn naming(naming_, place);
        Made made = exportItem(*due[place], naming);
        if (made.isCancelled) enough.request_stop();
        return made;
    };
    steps.begun = [&](std::size_t place) { progress({place, due.size(), due[place]->summary->subject}); };
    steps.ended = [&](std::size_t place, Made made) {
        count(*due[place], std::move(made));
        if (whyNotGoOn()) enough.request_stop();
    };
    const std::size_t threads = renderer != nullptr ? renderer->prepareFor(due.size()) : 1;
    const std::size_t begun = InOrder(std::move(steps)).run(due.size(), threads, enough.get_token());
    if (renderer != nullptr) result_.trouble = renderer->trouble();
    if (const auto reason = whyNotGoOn(); reason && begun < due.size()) {
        result_.stopped = *reason;
        result_.notTried = due.size() - begun;
    } else if (begun < due.size()) {
        result_.cancelled = true;
    } else if (!result_.cancelled) {
        progress({due.size(), due.size(), ""});
    }
    try {
        writeArchiveFiles();
    } catch (const FileError& error) {
        throw IndexError(error, std::move(result_));
    }
    return std::move(result_);
}

// One message may be too large for what is left of the disk; after two the next will not fit either.
std::optional<std::string> ExportRun::whyNotGoOn() const {
    if (result_.failed.empty()) return std::nullopt;
    if (fullInARow_ >= 2) return i18n::tr("The disk is full.");
    if (!files::isFolder(folder_.path)) return i18n::tr("The export folder is gone.");
    return std::nullopt;
}

// ---- One message ----

ExportRun::Made ExportRun::exportItem(Item& item, Turns::Turn& naming) {
    NamesInUse::User names(namesInUse_);
    Made made;
    made.filed.state = State::unread;
    const fs::path file = item.summary->url;
    made.filed.path = displayText(settings_.mailFolder.empty() ? file : file.lexically_relative(settings_.mailFolder));
    try {
        exportParts(item, made, names, naming);
    } catch (const RenderCancelled&) {
        made.isCancelled = true;
        return made;
    } catch (const std::bad_alloc&) {
        made.trouble = Trouble{i18n::tr("There is not enough memory for this message.")};
    } catch (const FileError& error) {
        made.trouble = Trouble{error.what(), causeOf(error), error.kind == FileError::Kind::diskFull};
    } catch (const std::exception& error) {
        made.trouble = Trouble{error.what()};
    }
    settle(item, std::move(made.filed));
    return made;
}

void ExportRun::exportParts(const Item& item, Made& made, NamesInUse::User& names, Turns::Turn& naming) {
    FiledMessage& filed = made.filed;
    std::optional<MailMessage> message;
    std::exception_ptr unread;   // also what cannot be read gets its name, in turn
    try {
        message = read(*item.summary, filed);
    } catch (...) {
        unread = std::current_exception();
    }
    naming.begin();
    filed.name = firstName(item, names);
    if (unread) std::rethrow_exception(unread);

    const auto isAvailable = &MailAttachment::isAvailable;
    const bool isRepair = !item.filed.name.empty() && item.filed.state == State::whole && !item.hasMoreAttachments;
    const bool wantsAttachments = isRepair ? item.filed.attachmentCount() > 0 : settings_.attachments;
    const bool savesAttachments = wantsAttachments && std::ranges::any_of(message->attachments, isAvailable);
    if (!isRepair) filed.name = freeName(filed.name, names, savesAttachments);
    naming.end();
    filed.lacksAttachments = !std::ranges::all_of(message->attachments, isAvailable);
    filed.state = State::unsaved;
    if (savesAttachments) saveAttachments(item, *message, made);
    filed.state = State::unprinted;
    if (isRepair ? item.filed.hasPDF() : settings_.pdfs) print(item, *message, made);
    filed.state = State::whole;
}

MailMessage ExportRun::read(const MessageSummary& summary, FiledMessage& filed) {
    const fs::path file = summary.url;
    filed.size = files::size(file).value_or(0);
    filed.modified = files::modificationDate(file).value_or(Instant());
    const Emlx::Container stored = Emlx::container(files::readWhole(file));
    filed.digest = sha256(stored.message.view());
    return Emlx::message(stored, file);
}

void ExportRun::saveAttachments(const Item& item, const MailMessage& message, Made& made) {
    FiledMessage& filed = made.filed;
    const fs::path folder = folder_.path / filed.name;
    const auto before = files::status(folder);
    const bool isOurs = before && before->isFolder && isClaimed(filed.name);
    claim(filed.name);
    if (!isOurs) files::createFolder(folder);
    FileNamer names;
    for (const MailAttachment& attachment : message.attachments) {
        if (!attachment.isAvailable()) continue;
        std::string name;
        do name = filed.name + '/' + names.uniqueFileName(attachment.filename);
        while (!mayWrite(name));
        filed.files.push_back(save(item, attachment, name, made));
        dropClaim(name);   // two names that the disk takes for one are not both to be written
    }
}

ArchivedFile ExportRun::save(const Item& item, const MailAttachment& attachment, const std::string& name, Made& made) {
    const auto* const file = std::get_if<fs::path>(&attachment.source);
    const fs::path target = folder_.path / name;
    const ArchivedFile* const before = item.damaged.contains(name) ? nullptr : fileOf(item.filed, name);
    if (before != nullptr) {
        const Digest digest = file ? sha256OfFile(*file) : sha256(std::get<Bytes>(attachment.source).view());
        if (digest == before->digest) return *before;
    }
    claim(name);
    ArchivedFile saved{name, {}};
    if (file) {
        files::copyAtomically(*file, target);
        saved.digest = digestOfWritten(target);
    } else {
        const ByteView bytes = std::get<Bytes>(attachment.source).view();
        saved.digest = sha256(bytes);
        files::writeAtomically(target, bytes);
    }
    ++made.attachments;
    return saved;
}

void ExportRun::print(const Item& item, const MailMessage& message, Made& made) {
    FiledMessage& filed = made.filed;
    const std::string name = filed.pdfName();
    const ArchivedFile* const before =
        item.hasMoreAttachments || item.damaged.contains(name) ? nullptr : fileOf(item.filed, name);
    if (before != nullptr) {
        filed.files.insert(filed.files.begin(), *before);
        filed.simplified = item.filed.simplified;
        return;
    }
    const Instant date = message.date.value_or(item.summary->date);
    const std::optional<std::string> folder = filed.files.empty() ? std::nullopt : std::optional(filed.name);
    Page page = MessageHTML::page(message, item.mailbox, settings_.dateText(date), folder, settings_.labels);
    page.savedFiles = savedFiles(message, filed.files);
    const DocumentInfo info{message.subject.empty() ? settings_.labels.noSubject : message.subject,
                            MailMessage::line(message.from), date};
    claim(name);
    const fs::path target = folder_.path / name;
    filed.simplified = made.simplified = renderer_->renderPDF(page, target, info);
    filed.files.insert(filed.files.begin(), {name, digestOfWritten(target)});
}

// What could not be made again is still what the archive ought to hold.
void ExportRun::settle(Item& item, FiledMessage filed) {
    const bool wasWhole = !item.filed.name.empty() && item.filed.state == State::whole;
    if (filed.state == State::whole) item.damaged.clear();
    if (filed.state == State::whole || !wasWhole) item.filed = std::move(filed);
    for (const ArchivedFile& written : item.filed.files) dropClaim(written.name);
    dropClaim(item.filed.name);
}

// A message that has come to its end, in turn.
void ExportRun::count(const Item& item, Made made) {
    result_.attachments += made.attachments;
    if (made.isCancelled) {
        result_.cancelled = true;
        return;
    }
    const MessageSummary& summary = *item.summary;
    const std::string name = summary.subject.empty() ? displayText(summary.url.filename()) : summary.subject;
    if (!made.trouble) {
        ++result_.exported;
        if (!made.simplified.empty()) result_.simplified.push_back({name, std::move(made.simplified)});
    } else {
        result_.failed.push_back({name, std::move(made.trouble->reason), std::move(made.trouble->cause)});
    }
    fullInARow_ = made.trouble && made.trouble->isDiskFull ? fullInARow_ + 1 : 0;
    record(item);
}

// ---- Names ----

std::string ExportRun::wishedName(const MessageSummary& summary) const {
    return FileNamer::messageBase(summary.date, summary.fromLine(), summary.subject, settings_.labels.noSubject,
                                  settings_.calendar);
}

// The name of a message before anybody has looked what there is on the disk: the one that it had, or a new one.
std::string ExportRun::firstName(const Item& item, NamesInUse::User& names) {
    if (item.filed.name.empty()) {
        std::string name = names_.unique(wishedName(*item.summary), "");
        names.take(name);
        return name;
    }
    names.take(item.filed.name);
    const std::lock_guard held(mutex_);
    for (const ArchivedFile& file : item.filed.files) claims_.insert(file.name);
    if (item.filed.attachmentCount() > 0) claims_.insert(item.filed.name);
    return item.filed.name;
}

// A name that nothing on the disk bears but what this export was writing when it was cut short. "Scan.pdf" as a subject
// wants for its folder what the PDF of "Scan" is called; and some disks take two names for one that we tell apart.
std::string ExportRun::freeName(const std::string& wished, NamesInUse::User& names, bool needsFolder) {
    std::string name = wished;
    while ((needsFolder && !mayWrite(name)) || (settings_.pdfs && !mayWrite(name + ".pdf"))) {
        name = names_.unique(wished, "");
        names.take(name);
    }
    return name;
}

bool ExportRun::mayWrite(const std::string& name) { return isClaimed(name) || !files::exists(folder_.path / name); }

bool ExportRun::isClaimed(const std::string& name) {
    const std::lock_guard held(mutex_);
    return claims_.contains(name);
}

// Throws FileError: what the journal does not know is not written.
void ExportRun::claim(const std::string& name) {
    const std::lock_guard held(mutex_);
    if (claims_.insert(name).second) journal_->append(ArchiveLine::write(ArchiveLine::Claim{name}));
}

void ExportRun::dropClaim(const std::string& name) {
    const std::lock_guard held(mutex_);
    claims_.erase(name);
}

// A line that could not be written costs a later run no more than to make this message again.
void ExportRun::record(const Item& item) {
    const std::string line = ArchiveLine::write(item.filed, *item.summary, item.mailbox);
    const std::lock_guard held(mutex_);
    try {
        journal_->append(line);
    } catch (const FileError&) {
    }
}

// ---- What the archive says of itself ----

std::string ExportRun::index() const {
    std::string file = CSVIndex::begin(settings_.csvHeaders);
    for (std::size_t i = 0; i < items_.size(); ++i) {
        const FiledMessage& filed = items_[i].filed;
        if (filed.name.empty()) continue;
        const MessageSummary& summary = *items_[i].summary;
        CSVIndex::Row row;
        row.date = settings_.csvDate(summary.date);
        row.from = MailMessage::line(summary.from);
        row.to = MailMessage::line(summary.to);
        row.cc = MailMessage::line(summary.cc);
        row.subject = summary.subject;
        row.mailbox = items_[i].mailbox;
        row.attachments = filed.attachmentCount();
        if (filed.hasPDF()) row.pdf = filed.pdfName();
        if (filed.hasFolder()) row.folder = filed.name;
        row.thread = threads_[i];
        row.messageID = summary.messageID.value_or("");
        if (filed.lacksAttachments) row.note = settings_.labels.attachments + ": " + settings_.labels.missing;
        if (!filed.simplified.empty()) row.note += (row.note.empty() ? "" : " ") + filed.simplified;
        if (filed.state != State::whole) row.note = settings_.labels.unreadable;
        CSVIndex::append(file, row);
    }
    return file;
}

std::string ExportRun::messageLines() const {
    std::string lines;
    for (const Item& item : items_) {
        if (item.filed.name.empty()) continue;
        lines.append(ArchiveLine::write(item.filed, *item.summary, item.mailbox)).append("\n");
    }
    return lines;
}

std::vector<ArchivedFile> ExportRun::messageFiles() const {
    std::vector<ArchivedFile> all;
    std::unordered_set<std::string_view> names;
    for (const Item& item : items_) {
        for (const ArchivedFile& file : item.filed.files) {
            if (names.insert(file.name).second) all.push_back(file);
        }
    }
    for (const ArchivedFile& file : folder_.others) {
        if (!names.contains(file.name)) all.push_back(file);
    }
    return all;
}

std::vector<ArchivedFile> ExportRun::sums(const std::optional<Digest>& lines) const {
    std::vector<ArchivedFile> all = {{Archive::messagesName, lines ? *lines : sha256(bytesOf(messageLines()))}};
    if (settings_.csv) all.push_back({Archive::indexName, sha256(bytesOf(index()))});
    std::ranges::move(messageFiles(), std::back_inserter(all));
    return all;
}

std::unordered_set<std::string> ExportRun::ownNames() const {
    std::unordered_set<std::string> names = {Archive::indexName, Archive::messagesName, Archive::sumsName,
                                             Archive::journalName};
    for (const ArchivedFile& file : messageFiles()) names.insert(file.name);
    return names;
}

// The sums come last, when everything they speak of is on the disk: they are what says that the archive is whole. The
// journal stays until then, so that nothing is lost wherever this ends, and after a run that gave up: a later one is to
// go on with it.
void ExportRun::writeArchiveFiles() {
    std::string sums;
    const auto write = [&](const char* name, const std::string& content) {
        const Digest digest = sha256(bytesOf(content));
        if (!folder_.isUpdate || digestInArchive(folder_.path, name) != digest)
            files::writeAtomically(folder_.path / name, bytesOf(content));
        Sums::append(sums, {name, digest});
    };
    write(Archive::messagesName, messageLines());
    if (settings_.csv) write(Archive::indexName, index());
    for (const ArchivedFile& file : messageFiles()) Sums::append(sums, file);
    files::settle(folder_.path);
    const fs::path path = folder_.path / Archive::sumsName;
    files::writeAtomically(path, bytesOf(sums));
    // Files older than the sums pass for whole in a later update. As long as one is known that is not, none does.
    if (!std::ranges::all_of(items_, [](const Item& item) { return item.damaged.empty(); }))
        files::setModificationDate(path, Instant());
    files::settle(folder_.path);
    if (result_.stopped.empty()) journal_->remove();
}

}   // namespace ostrel
