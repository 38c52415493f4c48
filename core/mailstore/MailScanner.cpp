#include "core/mailstore/MailScanner.h"

#include "core/mailstore/Emlx.h"
#include "core/mailstore/HeadsAhead.h"
#include "core/message/HeaderParameters.h"
#include "core/message/MailDate.h"
#include "core/message/MessageIDs.h"
#include "platform/Files.h"
#include "platform/LocaleFormat.h"
#include "platform/Text.h"
#include "platform/Translation.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <string_view>
#include <unordered_map>

namespace ostrel {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t progressInterval = 200;
constexpr std::string_view localAccount = "Mailboxes";   // the folder of mailboxes that belong to no account

// Mailboxes that people look for first, in this order.
constexpr std::array<std::string_view, 9> rankedMailboxes = {
    "inbox", "drafts", "sent", "sent messages", "sent mail", "archive", "junk", "trash", "deleted messages"};

// What a summary is made of.
constexpr std::array<std::string_view, 9> summaryFields = {
    "From", "To", "Cc", "Subject", "Date", "Message-ID", "In-Reply-To", "References", "Content-Type"};

std::size_t rank(const std::string& mailboxName) {
    return static_cast<std::size_t>(std::ranges::find(rankedMailboxes, text::lower(mailboxName)) -
                                    rankedMailboxes.begin());
}

std::string joined(const std::vector<std::string_view>& pieces, std::size_t first, std::size_t last,
                   std::size_t cutFromEach = 0) {
    std::string out;
    for (std::size_t i = first; i < last; ++i) {
        if (i > first) out += '/';
        out += pieces[i].substr(0, pieces[i].size() - cutFromEach);
    }
    return out;
}

constexpr std::string_view mailboxEnding = ".mbox";

bool isMailbox(std::string_view folderName) { return text::lowerASCII(folderName).ends_with(mailboxEnding); }

// The mailbox of the files in a folder:
//
//   account/Projects.mbox/Kitchen.mbox/<store id>/Data/Messages
//   the id runs to the last ".mbox", the name is "Projects/Kitchen"; without any ".mbox" the folder itself is the
//   mailbox
//
// relativeFolder is the text of the path below the walked folder; where that is a mailbox itself, its name comes first.
Mailbox mailboxOf(std::string_view relativeFolder) {
    std::vector<std::string_view> pieces;   // without the file
    for (std::size_t start = 0; start < relativeFolder.size();) {
        const std::size_t end = std::min(relativeFolder.find('/', start), relativeFolder.size());
        if (end > start) pieces.push_back(relativeFolder.substr(start, end - start));
        start = end + 1;
    }
    const auto firstFound = std::ranges::find_if(pieces, isMailbox);
    Mailbox mailbox;
    if (firstFound == pieces.end()) {
        mailbox.id = pieces.empty() ? "." : joined(pieces, 0, pieces.size());
        if (!pieces.empty()) mailbox.account = pieces.front();
        mailbox.name = "Messages";
        if (!pieces.empty()) mailbox.name = pieces.back();
        if (mailbox.name == "Messages" && pieces.size() > 1) mailbox.name = pieces[pieces.size() - 2];
        return mailbox;
    }
    const auto first = static_cast<std::size_t>(firstFound - pieces.begin());
    const auto end = pieces.size() - static_cast<std::size_t>(std::find_if(pieces.rbegin(), pieces.rend(), isMailbox) -
                                                              pieces.rbegin());
    if (first > 0) mailbox.account = pieces[first - 1];
    mailbox.id = joined(pieces, 0, end);
    std::vector<std::string_view> names(pieces.begin() + static_cast<std::ptrdiff_t>(first),
                                        pieces.begin() + static_cast<std::ptrdiff_t>(end));
    std::erase_if(names, [&](std::string_view piece) { return !isMailbox(piece); });
    mailbox.name = joined(names, 0, names.size(), mailboxEnding.size());
    return mailbox;
}

// Address lists read before: in a mail store the same few people write to each other all the time, and to read an
// address costs more than to read a file's head.
class KnownAddresses {
public:
    using List = Shared<std::vector<MailAddress>>;

    List list(std::string_view value) {
        if (value.size() > longest) return MailAddress::list(value);
        if (const auto known = lists_.find(value); known != lists_.end()) return known->second;
        if (lists_.size() == most) lists_.clear();
        return lists_.emplace(value, MailAddress::list(value)).first->second;
    }

private:
    // Bounds on memory: what is longer is a list that seldom comes twice; what comes in such numbers are strangers.
    static constexpr std::size_t longest = 256, most = 20000;
    struct Hash : std::hash<std::string_view> {
        using is_transparent = void;
    };
    std::unordered_map<std::string, List, Hash, std::equal_to<>> lists_;
};

// All but what the folder tells.
SummaryCache::Kept summaryOf(const HeadsAhead::Head& head, const Headers& headers, KnownAddresses& known) {
    const auto addresses = [&](std::string_view name) { return known.list(headers.first(name).value_or("")); };
    const auto identifiers = [&](std::string_view name) { return MessageIDs::list(headers.first(name).value_or("")); };
    SummaryCache::Kept all;
    MessageSummary& summary = all.summary;
    summary.isPartial = Emlx::isPartial(head.file);
    all.isMixed = text::lower(HeaderParameters::parse(headers.first("Content-Type")).value) == "multipart/mixed";
    summary.subject = text::trimBlanksAndNewlines(headers.decoded("Subject").value_or(""));
    summary.from = addresses("From");
    summary.to = addresses("To");
    summary.cc = addresses("Cc");
    const auto date = headers.first("Date");
    summary.date = (date ? MailDate::parse(*date) : std::nullopt).value_or(head.modified);
    if (auto own = identifiers("Message-ID"); !own.empty()) summary.messageID = std::move(own.front());
    summary.inReplyTo = identifiers("In-Reply-To");
    summary.references = identifiers("References");
    return all;
}

// Messages of one date keep their order.
void sortNewestFirst(std::vector<MessageSummary>& messages) {
    struct Dated {
        Instant date;
        std::size_t position;
    };
    std::vector<Dated> order;
    order.reserve(messages.size());
    for (const MessageSummary& message : messages) order.push_back({message.date, order.size()});
    std::ranges::sort(order, [](const Dated& a, const Dated& b) {
        return a.date != b.date ? a.date > b.date : a.position < b.position;
    });
    // Each moves once, into the place of the one before it in its circle: a second list would take as much memory
    // again.
    for (std::size_t start = 0; start < order.size(); ++start) {
        if (order[start].position == start) continue;
        MessageSummary first = std::move(messages[start]);
        std::size_t at = start;
        while (order[at].position != start) {
            const std::size_t from = std::exchange(order[at].position, at);
            messages[at] = std::move(messages[from]);
            at = from;
        }
        order[at].position = at;
        messages[at] = std::move(first);
    }
}

// What one walk has found so far.
class Scan {
public:
    // cache: null if there is none.
    Scan(fs::path root, SummaryCache* cache) : root_(std::move(root)), cache_(cache) {
        if (isMailbox(root_.filename().native())) ownName_ = root_.filename().native();
    }

    void add(const HeadsAhead::Head& head, ByteView headerBlock) {
        if (!head.isReadable) {
            ++index_.unreadable;
            return;
        }
        const std::string_view path = head.file.native();
        const std::size_t nameStart = path.rfind('/') + 1;
        enter(path.substr(0, nameStart));
        SummaryCache::Kept read = summaryFrom(head, headerBlock);
        MessageSummary& summary = index_.messages.emplace_back(std::move(read.summary));
        summary.hasAttachments =
            read.isMixed || (summary.isPartial && files::exists(Emlx::attachmentsFolder(head.file)));
        summary.url = StoredPath(folder_, path.substr(nameStart));
        summary.mailboxID = mailboxID_;
        for (const MailAddress& address : *summary.to) ++(*addressesOfFolder_)[address.email];
        ++mailbox_->messageCount;
    }

    std::size_t count() const { return index_.messages.size(); }

    MailIndex finish(const std::string& onMyMac) {
        sortNewestFirst(index_.messages);
        index_.accounts = accounts(onMyMac);
        index_.root = root_;
        return std::move(index_);
    }

private:
    SummaryCache::Kept summaryFrom(const HeadsAhead::Head& head, ByteView headerBlock) {
        if (!head.kept.empty()) {
            cache_->keep(*folder_, head.kept);
            return cache_->read(head.kept);
        }
        SummaryCache::Kept read = summaryOf(head, Headers::parseOnly(headerBlock, summaryFields), knownAddresses_);
        const std::string_view path = head.file.native();
        if (cache_) cache_->keep(*folder_, path.substr(folder_->size()), head.facts, read);
        return read;
    }

    // Files come folder by folder, so the last answer nearly always serves again. The folder ends with a slash.
    void enter(std::string_view folder) {
        if (mailbox_ && folder == *folder_) return;
        std::string_view relative = folder.substr(0, folder.size() - 1);
        if (relative.starts_with(root_.native())) relative.remove_prefix(root_.native().size());
        const Mailbox mailbox = mailboxOf(displayText(fs::path(ownName_ + std::string(relative))));
        mailbox_ = &mailboxes_.try_emplace(mailbox.id, mailbox).first->second;
        addressesOfFolder_ = &addresses_[mailbox.account];
        if (mailboxID_ != mailbox.id) mailboxID_ = mailbox.id;
        folder_ = std::string(folder);
    }

    std::vector<MailAccount> accounts(const std::string& onMyMac) const {
        std::map<std::string, MailAccount> byID;
        for (const auto& [id, mailbox] : mailboxes_) {
            MailAccount& account = byID[mailbox.account];
            account.id = mailbox.account;
            account.mailboxes.push_back(mailbox);
        }
        std::vector<MailAccount> accounts;
        for (auto& [id, account] : byID) {
            account.label = id == localAccount || id.empty() ? onMyMac : mostFrequent(addresses_.at(id), id);
            std::ranges::stable_sort(account.mailboxes, [](const Mailbox& a, const Mailbox& b) {
                const std::size_t rankA = rank(a.name), rankB = rank(b.name);
                return rankA != rankB ? rankA < rankB : locale::compare(a.name, b.name) < 0;
            });
            accounts.push_back(std::move(account));
        }
        std::ranges::stable_sort(accounts, [&](const MailAccount& a, const MailAccount& b) {
            const bool localA = a.label == onMyMac, localB = b.label == onMyMac;
            return localA != localB ? localB : locale::compare(a.label, b.label) < 0;
        });
        return accounts;
    }

    using AddressCounts = std::unordered_map<std::string, std::size_t>;

    // The account's own id when nobody was written to; letter case aside, the smaller address among equals.
    static std::string mostFrequent(const AddressCounts& asWritten, const std::string& account) {
        AddressCounts counts;
        for (const auto& [address, count] : asWritten) {
            if (!address.empty()) counts[text::lower(address)] += count;
        }
        if (counts.empty()) return account;
        return std::ranges::max_element(counts,
                                        [](const auto& a, const auto& b) {
                                            return a.second != b.second ? a.second < b.second : a.first > b.first;
                                        })
            ->first;
    }

    const fs::path root_;
    SummaryCache* const cache_;
    std::string ownName_;   // of the root, where that is a mailbox; else empty
    MailIndex index_;
    std::map<std::string, Mailbox> mailboxes_;   // by id; nodes stay where they are
    KnownAddresses knownAddresses_;
    // How often each address was written to, by account: an account's own address leads.
    std::map<std::string, AddressCounts> addresses_;
    // Of the folder that the last file was in.
    Mailbox* mailbox_ = nullptr;
    AddressCounts* addressesOfFolder_ = nullptr;
    Shared<std::string> folder_, mailboxID_;
};

// Absolute and without "." and "..", so that relative paths are plain text; no slash at the end.
fs::path standardised(const fs::path& folder) {
    fs::path path = fs::absolute(folder).lexically_normal();
    return path.has_filename() || path == path.root_path() ? path : path.parent_path();
}

std::string accessSentence(MailAccessError::Kind kind, const fs::path& folder) {
    return i18n::filled(kind == MailAccessError::Kind::noPermission
                            ? i18n::tr("The mail folder “%@” can’t be read: permission denied.")
                            : i18n::tr("There is no mail folder “%@”."),
                        displayText(folder));
}

void save(const SummaryCache& cache) {
    try {
        cache.save();
    } catch (const FileError&) {
        // The next scan takes longer; there is nothing else that anybody could lose.
    }
}

}   // namespace

MailAccessError::MailAccessError(Kind kind_, const fs::path& folder)
    : std::runtime_error(accessSentence(kind_, folder)), kind(kind_) {}

namespace MailScanner {

fs::path defaultMailFolder(const fs::path& home) { return home / "Library" / "Mail"; }

fs::path dataRoot(const fs::path& folder) {
    std::optional<long long> largest;
    fs::path root = folder;
    try {
        for (const fs::path& name : files::list(folder)) {
            const std::string_view text = name.native();
            long long number = 0;
            if (!text.starts_with('V') || !text::parseInteger(text.substr(1), number)) continue;
            if (largest && number <= *largest) continue;
            largest = number;
            root = folder / name;
        }
    } catch (const FileError&) {
        // No entries, then; the scan's own access test has the say.
    }
    return root;
}

std::optional<MailAccessError::Kind> checkAccess(const fs::path& folder) {
    try {
        files::list(folder);
        return std::nullopt;
    } catch (const FileError& error) {
        return error.kind == FileError::Kind::notPermitted ? MailAccessError::Kind::noPermission
                                                           : MailAccessError::Kind::notFound;
    }
}

MailIndex scan(const fs::path& folder, const std::string& onMyMac, const std::function<void(std::size_t)>& progress,
               const std::function<bool()>& cancelled, const std::optional<SummaryCache::Place>& cachePlace) {
    if (const auto refused = checkAccess(folder)) throw MailAccessError(*refused, folder);
    const fs::path root = standardised(dataRoot(folder));
    std::optional<SummaryCache> cache;
    if (cachePlace) cache.emplace(*cachePlace, root);
    Scan scan(root, cache ? &*cache : nullptr);
    std::size_t reported = 0;
    HeadsAhead heads(root, cache ? &*cache : nullptr);
    bool isStopped = false;
    try {
        while (const HeadsAhead::Head* head = heads.next()) {
            if ((isStopped = cancelled())) break;
            scan.add(*head, heads.headerBlock());
            if (scan.count() % progressInterval == 0 && scan.count() != reported) progress(reported = scan.count());
        }
    } catch (const FileError&) {
        throw MailAccessError(MailAccessError::Kind::notFound, root);
    }
    progress(scan.count());
    if (cache && !isStopped) save(*cache);
    return scan.finish(onMyMac);
}

}   // namespace MailScanner
}   // namespace ostrel
