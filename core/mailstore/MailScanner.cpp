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
#include <deque>
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

// The mailbox of the files in a folder:
//
//   account/Projects.mbox/Kitchen.mbox/<store id>/Data/Messages
//   the id runs to the last ".mbox", the name is "Projects/Kitchen"; without any ".mbox" the folder itself is the
//   mailbox
//
// relativeFolder is the text of the path below the walked folder.
Mailbox mailboxOf(std::string_view relativeFolder) {
    constexpr std::string_view ending = ".mbox";
    std::vector<std::string_view> pieces;   // without the file
    for (std::size_t start = 0; start < relativeFolder.size();) {
        const std::size_t end = std::min(relativeFolder.find('/', start), relativeFolder.size());
        if (end > start) pieces.push_back(relativeFolder.substr(start, end - start));
        start = end + 1;
    }
    const auto isMailbox = [&](std::string_view piece) { return text::lowerASCII(piece).ends_with(ending); };
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
    mailbox.name = joined(names, 0, names.size(), ending.size());
    return mailbox;
}

// Address lists read before: in a mail store the same few people write to each other all the time, and to read an
// address costs more than to read a file's head.
class KnownAddresses {
public:
    std::vector<MailAddress> list(std::string_view value) {
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
    std::unordered_map<std::string, std::vector<MailAddress>, Hash, std::equal_to<>> lists_;
};

MessageSummary summaryOf(FilePath file, std::optional<Instant> modified, const Headers& headers,
                         KnownAddresses& known) {
    const auto addresses = [&](std::string_view name) { return known.list(headers.first(name).value_or("")); };
    const auto identifiers = [&](std::string_view name) { return MessageIDs::list(headers.first(name).value_or("")); };
    MessageSummary summary;
    summary.url = std::move(file);
    summary.isPartial = Emlx::isPartial(summary.url);
    const std::string contentType = HeaderParameters::parse(headers.first("Content-Type")).value;
    summary.hasAttachments = text::lower(contentType) == "multipart/mixed" ||
                             (summary.isPartial && files::exists(Emlx::attachmentsFolder(summary.url)));
    summary.subject = text::trimBlanksAndNewlines(headers.decoded("Subject").value_or(""));
    summary.from = addresses("From");
    summary.to = addresses("To");
    summary.cc = addresses("Cc");
    const auto date = headers.first("Date");
    summary.date = (date ? MailDate::parse(*date) : std::nullopt).value_or(modified.value_or(Instant{}));
    if (auto own = identifiers("Message-ID"); !own.empty()) summary.messageID = std::move(own.front());
    summary.inReplyTo = identifiers("In-Reply-To");
    summary.references = identifiers("References");
    return summary;
}

// Messages of one date keep their order.
std::vector<MessageSummary> newestFirst(std::deque<MessageSummary> messages) {
    std::vector<std::pair<Instant, MessageSummary*>> order;   // sorted in their place: a summary is dear to move
    order.reserve(messages.size());
    for (MessageSummary& message : messages) order.emplace_back(message.date, &message);
    std::ranges::stable_sort(order, std::greater{}, [](const auto& dated) { return dated.first; });
    std::vector<MessageSummary> sorted;
    sorted.reserve(messages.size());
    for (const auto& [date, message] : order) sorted.push_back(std::move(*message));
    return sorted;
}

// What one walk has found so far.
class Scan {
public:
    explicit Scan(fs::path root) : root_(std::move(root)) {}

    void add(HeadsAhead::Head& head, ByteView headerBlock) {
        if (!head.isReadable) {
            ++index_.unreadable;
            return;
        }
        Mailbox& mailbox = mailboxFor(head.file);
        MessageSummary& summary = messages_.emplace_back(summaryOf(
            std::move(head.file), head.modified, Headers::parseOnly(headerBlock, summaryFields), knownAddresses_));
        summary.mailboxID = mailbox.id;
        for (const MailAddress& address : summary.to) ++(*lastAddresses_)[address.email];
        ++mailbox.messageCount;
    }

    std::size_t count() const { return messages_.size(); }

    MailIndex finish(const std::string& onMyMac) {
        index_.messages = newestFirst(std::move(messages_));
        index_.accounts = accounts(onMyMac);
        index_.root = root_;
        return std::move(index_);
    }

private:
    // Files come folder by folder, so the last answer nearly always serves again.
    Mailbox& mailboxFor(const FilePath& file) {
        const std::string_view path = file.native();
        const std::string_view folder = path.substr(0, path.rfind('/'));
        if (!lastMailbox_ || folder != lastFolder_) {
            std::string_view relative = folder;
            if (folder.starts_with(root_.native())) relative.remove_prefix(root_.native().size());
            const Mailbox mailbox = mailboxOf(displayText(fs::path(relative)));
            lastMailbox_ = &mailboxes_.try_emplace(mailbox.id, mailbox).first->second;
            lastAddresses_ = &addresses_[mailbox.account];
            lastFolder_ = folder;
        }
        return *lastMailbox_;
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

    fs::path root_;
    MailIndex index_;
    std::deque<MessageSummary> messages_;        // as found; a vector would move them all each time it grows
    std::map<std::string, Mailbox> mailboxes_;   // by id; nodes stay where they are
    KnownAddresses knownAddresses_;
    // How often each address was written to, by account: an account's own address leads.
    std::map<std::string, AddressCounts> addresses_;
    Mailbox* lastMailbox_ = nullptr;
    AddressCounts* lastAddresses_ = nullptr;
    std::string lastFolder_;
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
               const std::function<bool()>& cancelled) {
    if (const auto refused = checkAccess(folder)) throw MailAccessError(*refused, folder);
    const fs::path root = standardised(dataRoot(folder));
    Scan scan(root);
    std::size_t reported = 0;
    HeadsAhead heads(root);
    try {
        while (HeadsAhead::Head* head = heads.next()) {
            if (cancelled()) break;
            scan.add(*head, heads.headerBlock());
            if (scan.count() % progressInterval == 0 && scan.count() != reported) progress(reported = scan.count());
        }
    } catch (const FileError&) {
        throw MailAccessError(MailAccessError::Kind::notFound, root);
    }
    progress(scan.count());
    return scan.finish(onMyMac);
}

}   // namespace MailScanner
}   // namespace ostrel
