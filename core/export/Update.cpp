#include "core/export/Update.h"

#include "core/mailstore/Emlx.h"
#include "platform/Translation.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace ostrel {

namespace {

namespace fs = std::filesystem;
using i18n::filled;
using i18n::tr;
using Item = ExportRun::Item;
using State = FiledMessage::State;

files::FolderLock lockOf(const fs::path& folder) {
    auto lock = files::FolderLock::take(folder);
    if (!lock) throw UpdateError(UpdateError::Kind::inUse, folder);
    return std::move(*lock);
}

std::string keyOf(const Digest& digest) { return std::string(charsOf(digest)); }

// The digest of the message in a file of the mail folder; nullopt when there is none to be read.
std::optional<Digest> digestOfMessage(const fs::path& file) {
    try {
        return sha256(Emlx::container(files::readWhole(file)).message.view());
    } catch (const std::exception&) {
        return std::nullopt;   // to export it tells what is wrong with it
    }
}

// What the archive holds, and which messages of the mail folder it has been found to be.
class Holdings {
public:
    explicit Holdings(std::vector<ArchivedMessage> messages) : messages_(std::move(messages)) {
        isMatched_.resize(messages_.size());
        for (std::size_t i = 0; i < messages_.size(); ++i) {
            const ArchivedMessage& message = messages_[i];
            byPath_.emplace(message.path, i);
            if (message.digest) byDigest_.emplace(keyOf(*message.digest), i);
            identifiers_.insert(message.summary.messageID.value_or(""));
        }
    }

    // That of the message file, if nothing about it has changed.
    std::optional<std::size_t> unchanged(const std::string& path, const MessageSummary& summary) const {
        const auto [first, last] = byPath_.equal_range(path);
        if (first == last) return std::nullopt;
        const auto file = files::status(summary.url.native());
        if (!file || !file->isRegularFile) return std::nullopt;
        for (auto at = first; at != last; ++at) {
            const ArchivedMessage& message = messages_[at->second];
            if (isMatched_[at->second] || !message.digest || message.summary.messageID != summary.messageID) continue;
            if (file->size == message.size && file->modified == message.modified) return at->second;
        }
        return std::nullopt;
    }
    // One that could not be read, and still cannot.
    std::optional<std::size_t> unread(const std::string& path, const MessageSummary& summary) const {
        const auto [first, last] = byPath_.equal_range(path);
        for (auto at = first; at != last; ++at) {
            const ArchivedMessage& message = messages_[at->second];
            if (isMatched_[at->second] || message.digest || message.summary.messageID != summary.messageID) continue;
            return at->second;
        }
        return std::nullopt;
    }
    // One of these bytes that no message has been found to be.
    std::optional<std::size_t> free(const Digest& digest) const {
        const auto [first, last] = byDigest_.equal_range(keyOf(digest));
        for (auto at = first; at != last; ++at) {
            if (!isMatched_[at->second]) return at->second;
        }
        return std::nullopt;
    }
    bool has(const Digest& digest) const { return byDigest_.contains(keyOf(digest)); }
    // Messages of the same bytes have the same Message-ID.
    bool mayHave(const MessageSummary& summary) const { return identifiers_.contains(summary.messageID.value_or("")); }

    ArchivedMessage& match(std::size_t place) {
        isMatched_[place] = true;
        return messages_[place];
    }
    template <typename Take>
    void eachUnmatched(Take take) {
        for (std::size_t i = 0; i < messages_.size(); ++i) {
            if (!isMatched_[i]) take(i, messages_[i]);
        }
    }

private:
    std::vector<ArchivedMessage> messages_;
    std::vector<bool> isMatched_;
    std::unordered_multimap<std::string, std::size_t> byPath_, byDigest_;
    std::unordered_set<std::string> identifiers_;
};

// Finds the messages of the mail folder in the archive.
class Matching {
public:
    struct Candidate {
        const MessageSummary* summary;
        std::string path;                        // below the mail folder
        std::optional<std::size_t> place = {};   // in the holdings
        bool isUnchanged = false;                // its file, since the archive was written
        bool isCopy = false;                     // of bytes that the archive has
    };

    Matching(Holdings& holdings, const Update::Request& request) : holdings_(holdings), request_(request) {
        const std::string& root = request.settings.mailFolder.native();
        const std::size_t prefix = root.empty() ? 0 : root.size() + (root.ends_with('/') ? 0 : 1);
        candidates_.reserve(request.messages.size());
        for (const MessageSummary* summary : request.messages)
            candidates_.push_back({summary, displayText(summary->url.native().substr(prefix))});
    }

    void matchUnchanged() {
        for (Candidate& candidate : candidates_) {
            const auto place = holdings_.unchanged(candidate.path, *candidate.summary);
            if (place) hold(candidate, *place);
            candidate.isUnchanged = place.has_value();
        }
    }
    // Reads what is left: it may have been moved, or its file have changed around the message.
    void matchByBytes(const std::stop_token& cancel) {
        for (Candidate& candidate : candidates_) {
            if (cancel.stop_requested()) return;
            const MessageSummary& summary = *candidate.summary;
            if (candidate.place || isDuplicate(summary)) continue;
            const auto digest = holdings_.mayHave(summary) ? digestOfMessage(summary.url) : std::nullopt;
            const auto place = digest ? holdings_.free(*digest) : holdings_.unread(candidate.path, summary);
            if (place) {
                hold(candidate, *place);
            } else {
                candidate.isCopy = digest && holdings_.has(*digest);
            }
        }
    }
    // Those that the archive has or is to have, in their order. A run that was cut short goes on as it began: it would
    // have exported each copy.
    template <typename Take>
    void eachWanted(bool wantsCopies, Take take) {
        for (Candidate& candidate : candidates_) {
            const bool isNew = !candidate.place;
            if (isNew && request_.isWanted && !request_.isWanted(*candidate.summary)) continue;
            if (isNew && (isDuplicate(*candidate.summary) || (candidate.isCopy && !wantsCopies))) continue;
            if (isNew && candidate.summary->messageID) identifiers_.insert(*candidate.summary->messageID);
            take(candidate);
        }
    }

private:
    void hold(Candidate& candidate, std::size_t place) {
        holdings_.match(place);
        candidate.place = place;
        if (candidate.summary->messageID) identifiers_.insert(*candidate.summary->messageID);
    }
    bool isDuplicate(const MessageSummary& summary) const {
        return request_.skipsDuplicates && summary.messageID && identifiers_.contains(*summary.messageID);
    }

    Holdings& holdings_;
    const Update::Request& request_;
    std::vector<Candidate> candidates_;
    std::unordered_set<std::string_view> identifiers_;   // of those held so far
};

struct PlacedItem {
    Item item;
    std::optional<std::size_t> place;   // in the holdings
};

// Whether the line of the message would be the one that the archive has.
bool isSameLine(const ArchivedMessage& archived, const MessageSummary& summary, const std::string& mailbox) {
    const MessageSummary& before = archived.summary;
    return archived.mailbox == mailbox && before.subject == summary.subject && before.date == summary.date &&
           before.messageID == summary.messageID && before.from == summary.from && before.to == summary.to &&
           before.cc == summary.cc && before.inReplyTo == summary.inReplyTo && before.references == summary.references;
}

// More than were there when the message was exported: the mail program has downloaded them since.
bool hasMoreAttachments(const Item& item) {
    const fs::path file = item.summary->url;
    if (!item.filed.lacksAttachments || !files::isFolder(Emlx::attachmentsFolder(file))) return false;
    try {
        const MailMessage message = Emlx::read(file);
        const auto available = std::ranges::count_if(message.attachments, &MailAttachment::isAvailable);
        return static_cast<std::size_t>(available) > item.filed.attachmentCount();
    } catch (const std::exception&) {
        return false;
    }
}

}   // namespace

UpdateError::UpdateError(Kind kind_, const fs::path& folder)
    : std::runtime_error(filled(kind_ == Kind::inUse ? tr("Another program is writing to “%@”.")
                                                     : tr("“%@” is no export that can be brought up to date."),
                                displayText(folder))),
      kind(kind_) {}

std::optional<fs::path> Update::unfinishedIn(const fs::path& folder) {
    std::optional<fs::path> found;
    std::optional<Instant> begun;
    const auto look = [&](const fs::path& candidate) {
        const fs::path journal = candidate / Archive::journalName;
        if (!files::isRegularFile(journal) || !files::FolderLock::take(candidate)) return;
        const auto date = files::modificationDate(journal);
        if (found && date <= begun) return;
        found = candidate;
        begun = date;
    };
    try {
        look(folder);
        if (found) return found;
        for (const fs::path& name : files::list(folder)) look(folder / name);
    } catch (const FileError&) {
        // One that cannot be read is none to go on with.
    }
    return found;
}

Update::Update(Request request, const std::stop_token& cancel)
    : request_(std::move(request)), lock_(lockOf(request_.folder)) {
    readArchive();
    std::vector<Item> items = match(cancel);
    findDamage(items, cancel);
    markDue(items);
    isCancelled_ = cancel.stop_requested();
    const auto isIndex = [](const ArchivedFile& file) { return file.name == Archive::indexName; };
    request_.settings.csv = request_.settings.csv || std::ranges::any_of(archive_.sums, isIndex);
    run_.emplace(ExportRun::Folder{request_.folder, archive_.claims, others_, !archive_.isFirstRun}, std::move(items),
                 request_.settings);
}

void Update::readArchive() {
    archive_ = Archive::read(request_.folder);
    present_ = listArchive(request_.folder);
    for (auto file = present_.begin(); file != present_.end();) {
        const std::string_view name = std::string_view(file->first).substr(file->first.rfind('/') + 1);
        if (files::isUnfinishedName(name) && isArchiveName(file->first)) {
            files::remove(request_.folder / file->first);
            file = present_.erase(file);
        } else {
            ++file;
        }
    }
    // A run that was killed at once has left an empty folder.
    if (present_.empty()) archive_.isFirstRun = true;
    if (!present_.empty() && !archive_.hasMessages && !archive_.isUnfinished && !archive_.hasSums)
        throw UpdateError(UpdateError::Kind::noArchive, request_.folder);

    // What the sums name and no message has, because the lines of that message are lost, is this export's own.
    std::unordered_set<std::string_view> known = {Archive::indexName, Archive::messagesName};
    for (const ArchivedMessage& message : archive_.messages) {
        for (const ArchivedFile& file : message.files) known.insert(file.name);
    }
    for (const ArchivedFile& file : archive_.sums) {
        if (known.contains(file.name)) continue;
        archive_.claims.insert(file.name);
        archive_.claims.insert(file.name.substr(0, file.name.find('/')));
        if (present_.contains(file.name)) others_.push_back(file);
    }
    const auto lines = std::ranges::find(archive_.sums, Archive::messagesName, &ArchivedFile::name);
    hasChangedLines_ = lines == archive_.sums.end() || archive_.messagesDigest != lines->digest;
    hasSameLines_ = !hasChangedLines_ && archive_.damagedMessages == 0;
}

// An item for each message that is to be in the archive, oldest first.
std::vector<Item> Update::match(const std::stop_token& cancel) {
    const std::size_t archived = archive_.messages.size();
    Holdings holdings(std::move(archive_.messages));
    Matching matching(holdings, request_);
    matching.matchUnchanged();
    matching.matchByBytes(cancel);
    std::vector<PlacedItem> items;
    matching.eachWanted(archive_.isFirstRun, [&](Matching::Candidate& candidate) {
        const auto mailbox = request_.mailboxNames.find(candidate.summary->mailboxID);
        Item item{candidate.summary, mailbox == request_.mailboxNames.end() ? std::string() : mailbox->second};
        if (candidate.place) {
            ArchivedMessage& message = holdings.match(*candidate.place);
            hasSameLines_ = hasSameLines_ && candidate.isUnchanged && isSameLine(message, *item.summary, item.mailbox);
            item.filed = std::move(static_cast<FiledMessage&>(message));
            if (!candidate.isUnchanged || hasChangedLines_)
                refresh(item.filed, candidate.summary->url, std::move(candidate.path));
        }
        items.push_back({std::move(item), candidate.place});
    });
    holdings.eachUnmatched([&](std::size_t place, ArchivedMessage& message) {
        if (message.files.empty()) return;   // it came to nothing, and there is nothing of it to keep
        gone_.push_back(std::move(message.summary));
        items.push_back({{&gone_.back(), std::move(message.mailbox), true, std::move(message)}, place});
    });
    std::ranges::stable_sort(items, {}, [](const PlacedItem& placed) { return placed.item.summary->date; });
    hasSameLines_ = hasSameLines_ && items.size() == archived;
    std::vector<Item> sorted;
    sorted.reserve(items.size());
    for (PlacedItem& placed : items) {
        hasSameLines_ = hasSameLines_ && placed.place == sorted.size();
        sorted.push_back(std::move(placed.item));
    }
    return sorted;
}

// The message file as it is now. Of lines that have been changed the digest is not believed.
void Update::refresh(FiledMessage& filed, const fs::path& file, std::string path) const {
    filed.path = std::move(path);
    filed.size = files::size(file).value_or(0);
    filed.modified = files::modificationDate(file).value_or(Instant());
    if (hasChangedLines_) filed.digest = digestOfMessage(file);
}

void Update::findDamage(std::vector<Item>& items, const std::stop_token& cancel) {
    const auto sums = present_.find(Archive::sumsName);
    isTouched_ = sums == present_.end() || archive_.isUnfinished || archive_.damagedSums > 0;
    const auto isLater = [&](const std::string& name) {
        const auto file = present_.find(name);
        return file != present_.end() &&
               (file->second.modified > sums->second.modified || file->second.changed > sums->second.changed);
    };
    const auto isAnyLater = [&](const Item& item) {
        return std::ranges::any_of(item.filed.files, [&](const ArchivedFile& file) { return isLater(file.name); });
    };
    isTouched_ = isTouched_ || isLater(Archive::indexName) || isLater(Archive::messagesName) ||
                 std::ranges::any_of(items, isAnyLater);

    std::unordered_map<std::string_view, Digest> summed;
    if (isTouched_) {
        for (const ArchivedFile& file : archive_.sums) summed[file.name] = file.digest;
    }
    for (Item& item : items) {
        if (cancel.stop_requested()) return;
        for (ArchivedFile& file : item.filed.files) {
            bool isWhole = present_.contains(file.name);
            if (isWhole && isTouched_) {
                const auto digest = digestInArchive(request_.folder, file.name);
                const auto sum = summed.find(file.name);
                isWhole = digest == file.digest || (digest && sum != summed.end() && sum->second == *digest);
                if (isWhole)
                    file.digest = *digest;   // a changed line of the archive does not make a file a changed one
            }
            if (!isWhole) item.damaged.insert(file.name);
        }
    }
}

void Update::markDue(std::vector<Item>& items) {
    for (Item& item : items) {
        if (item.isGone) {
            item.isDue = false;
            for (const std::string& name : item.damaged)
                lost_.push_back(
                    {name, tr("The file is missing or damaged, and the mail folder no longer has its message.")});
            continue;
        }
        item.hasMoreAttachments = request_.settings.attachments && hasMoreAttachments(item);
        item.isDue = item.filed.name.empty() || item.filed.state != State::whole || !item.damaged.empty() ||
                     item.hasMoreAttachments;
        ++(item.isDue ? due_ : held_);
    }
}

bool Update::isUpToDate() const {
    const bool isSealed = !isTouched_ || !lost_.empty();
    if (due_ > 0 || !isSealed || archive_.isUnfinished || !archive_.hasMessages) return false;
    return run_->sums(hasSameLines_ ? archive_.messagesDigest : std::nullopt) == archive_.sums;
}

ExportResult Update::run(PDFRendering* renderer, const std::function<void(const ExportProgress&)>& progress,
                         const std::stop_token& cancel) {
    ExportResult result;
    result.folder = request_.folder;
    if (isCancelled_) {
        result.cancelled = true;
    } else if (!isUpToDate()) {
        result = run_->run(renderer, progress, cancel);
    }
    result.held = held_;
    result.failed.insert(result.failed.end(), lost_.begin(), lost_.end());
    const std::unordered_set<std::string> own = run_->ownNames();
    for (const auto& [name, status] : present_) {
        if (!own.contains(name)) result.strange.push_back(displayText(name));
    }
    return result;
}

}   // namespace ostrel
