#include "core/mailstore/SummaryCache.h"

#include "platform/UserFolders.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <optional>
#include <system_error>
#include <utility>

#include <libdeflate.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

// Raised when an entry changes its form or its meaning: what a summary says of the same file counts as its meaning.
constexpr std::string_view formatVersion = "1";
constexpr std::string_view ending = ".summaries";

// Two million messages. What does not fit is read from its file each time.
constexpr std::size_t maxBytes = std::size_t{512} << 20;
constexpr std::size_t maxMailFolders = 4;

// File systems tell times in steps of up to two seconds: within one a file can change twice and show it once.
constexpr auto longestStep = std::chrono::seconds(2);

//   head                        names the versions and the mail folder
//   checksum   4 bytes          CRC-32 of what follows
//   'F' text                    a folder, then the files in it:
//   'M' size   4 bytes          of what follows
//       facts  32 bytes
//       date   8 bytes          microseconds since 1970
//       flags  1 byte
//       text name, subject, identifier; people from, to, cc; list in-reply-to, references
//
// text := size, bytes    people := size, {text name, text email}    list := count, {text}
// Numbers are as the machine writes them: the file is for this machine alone.
constexpr char folderMark = 'F', messageMark = 'M';
using Size = std::uint32_t;
enum Flag : std::uint8_t { isMixed = 1, isPartial = 2, hasIdentifier = 4 };

template <typename Number>
void putNumber(std::string& out, Number number) {
    char bytes[sizeof number];
    std::memcpy(bytes, &number, sizeof number);
    out.append(bytes, sizeof number);
}

void putText(std::string& out, std::string_view text) {
    putNumber(out, static_cast<Size>(text.size()));
    out += text;
}

void putPeople(std::string& out, const std::vector<MailAddress>& people) {
    std::string bytes;
    for (const auto& [name, email] : people) {
        putText(bytes, name);
        putText(bytes, email);
    }
    putText(out, bytes);
}

void putList(std::string& out, const TextList& list) {
    const auto texts = list.texts();
    putNumber(out, static_cast<Size>(texts.size()));
    for (const auto text : texts) putText(out, text);
}

void putFacts(std::string& out, const files::Facts& facts) {
    for (const std::uint64_t number : {facts.inode, facts.size, facts.changed, facts.modified}) putNumber(out, number);
}

// Takes what the functions above put; what is cut short reads as zeros and empty texts.
class Reader {
public:
    explicit Reader(std::string_view bytes) : rest_(bytes) {}

    bool atEnd() const { return rest_.empty(); }
    bool isCut() const { return isCut_; }
    const char* position() const { return rest_.data(); }

    std::string_view take(std::size_t size) {
        if (size > rest_.size()) isCut_ = true;
        const auto taken = rest_.substr(0, size);
        rest_.remove_prefix(taken.size());
        return isCut_ ? std::string_view() : taken;
    }
    template <typename Number>
    Number number() {
        Number value{};
        if (const auto bytes = take(sizeof value); !bytes.empty()) std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }
    std::string_view text() { return take(number<Size>()); }
    files::Facts facts() {
        files::Facts facts;
        facts.inode = number<std::uint64_t>();
        facts.size = number<std::uint64_t>();
        facts.changed = number<std::uint64_t>();
        facts.modified = number<std::uint64_t>();
        return facts;
    }
    TextList list() {
        std::vector<std::string> texts;
        for (auto count = number<Size>(); count > 0 && !isCut_; --count) texts.emplace_back(text());
        return texts;
    }

private:
    std::string_view rest_;
    bool isCut_ = false;
};

std::vector<MailAddress> peopleIn(std::string_view bytes) {
    std::vector<MailAddress> people;
    for (Reader in(bytes); !in.atEnd();) {
        MailAddress person;
        person.name = in.text();
        person.email = in.text();
        people.push_back(std::move(person));
    }
    return people;
}

constexpr std::size_t factsBytes = 32, nameAt = factsBytes + sizeof(std::int64_t) + sizeof(std::uint8_t);
files::Facts factsOf(SummaryCache::Entry entry) { return Reader(entry).facts(); }
std::string_view nameOf(SummaryCache::Entry entry) {
    return Reader(entry.substr(std::min(nameAt, entry.size()))).text();
}

// The bytes of an entry with the mark and the size before it.
std::string_view withMark(SummaryCache::Entry entry) {
    constexpr std::size_t before = sizeof messageMark + sizeof(Size);
    return {entry.data() - before, entry.size() + before};
}

std::uint32_t checksum(std::uint32_t before, std::string_view bytes) {
    return libdeflate_crc32(before, bytes.data(), bytes.size());
}

fs::path fileFor(const fs::path& folder, const fs::path& root) {
    return folder / (std::to_string(std::hash<std::string>()(root.native())) += ending);
}

std::string headFor(const fs::path& root) {
    std::string head = "Ostrel " OSTREL_VERSION " summaries ";
    ((head += formatVersion) += '\n') += root.native();
    return head += '\0';
}

// As files::Facts counts them.
std::uint64_t nanoseconds(Instant time) {
    const auto since1970 = std::chrono::nanoseconds(time.time_since_epoch()).count();
    return static_cast<std::uint64_t>(std::max<std::int64_t>(since1970, 0));
}

void removeOldest(const fs::path& folder) {
    std::vector<std::pair<Instant, fs::path>> kept;
    for (const auto& name : files::list(folder))
        if (name.native().ends_with(ending))
            kept.emplace_back(files::modificationDate(folder / name).value_or(Instant{}), folder / name);
    std::ranges::sort(kept);
    std::error_code ignored;
    for (std::size_t i = 0; i + maxMailFolders < kept.size(); ++i) fs::remove(kept[i].second, ignored);
}

}   // namespace

fs::path SummaryCache::usersFolder() { return cacheFolder() / "ostrel" / "mail"; }

SummaryCache::SummaryCache(const Place& place, const fs::path& root)
    : file_(fileFor(place.folder, root)), head_(headFor(root)), newest_(nanoseconds(place.now - longestStep)) {
    try {
        if (files::size(file_).value_or(0) > maxBytes) return;
        bytes_ = files::readWhole(file_);
    } catch (const FileError&) {
        return;   // the first scan, or nothing that can be used
    }
    if (load()) return;
    folders_.clear();
    loaded_ = 0;
}

bool SummaryCache::load() {
    auto bytes = bytes_.chars();
    if (!bytes.starts_with(head_)) return false;
    Reader in(bytes.substr(head_.size()));
    const auto expected = in.number<std::uint32_t>();
    if (in.isCut() || checksum(0, bytes.substr(head_.size() + sizeof expected)) != expected) return false;
    Folder* folder = nullptr;
    while (!in.atEnd()) {
        const auto mark = in.number<char>();
        const auto content = in.text();
        if (mark == folderMark) {
            folder = &folders_[content];
        } else if (mark == messageMark && folder != nullptr) {
            folder->entries.push_back(content);
            ++loaded_;
        } else {
            return false;
        }
    }
    return !in.isCut();
}

SummaryCache::Entry SummaryCache::find(std::string_view folder, std::string_view name, const files::Facts& facts) {
    if (folder != foundFolderName_) {
        foundFolderName_ = folder;
        const auto found = folders_.find(folder);
        foundFolder_ = found == folders_.end() ? nullptr : &found->second;
    }
    if (foundFolder_ == nullptr) return {};
    auto& [entries, next] = *foundFolder_;
    // Entries of files that have gone are passed over; those of the ones still there keep their order.
    while (next < entries.size() && nameOf(entries[next]) < name) ++next;
    if (next == entries.size() || nameOf(entries[next]) != name) return {};
    const Entry entry = entries[next++];
    return factsOf(entry) == facts ? entry : Entry();
}

SummaryCache::Kept SummaryCache::read(Entry entry) {
    const auto people = [this](std::string_view bytes) {
        if (const auto known = people_.find(bytes); known != people_.end()) return known->second;
        return people_.emplace(bytes, peopleIn(bytes)).first->second;
    };
    Reader in(entry);
    Kept kept;
    auto& summary = kept.summary;
    in.facts();
    summary.date = Instant(Instant::duration(in.number<std::int64_t>()));
    const auto flags = in.number<std::uint8_t>();
    kept.isMixed = flags & isMixed;
    summary.isPartial = flags & isPartial;
    in.text();   // the name
    summary.subject = in.text();
    if (const auto identifier = in.text(); flags & hasIdentifier) summary.messageID = identifier;
    summary.from = people(in.text());
    summary.to = people(in.text());
    summary.cc = people(in.text());
    summary.inReplyTo = in.list();
    summary.references = in.list();
    return kept;
}

void SummaryCache::enterKept(std::string_view folder) {
    if (folder == keptFolder_) return;
    keptFolder_ = folder;
    auto& bytes = own_.emplace_back(1, folderMark);
    putText(bytes, folder);
    kept_.push_back(bytes);
    keptBytes_ += bytes.size();
}

void SummaryCache::keep(std::string_view folder, Entry entry) {
    const auto bytes = withMark(entry);
    if (keptBytes_ + bytes.size() > maxBytes) return;
    enterKept(folder);
    ++reused_;
    keptBytes_ += bytes.size();
    // Mostly they come as they lie in the file.
    auto& last = kept_.back();
    if (last.data() + last.size() == bytes.data())
        last = {last.data(), last.size() + bytes.size()};
    else
        kept_.push_back(bytes);
}

void SummaryCache::keep(std::string_view folder, std::string_view name, const files::Facts& facts, const Kept& kept) {
    const auto& summary = kept.summary;
    if (facts.changed > newest_ || keptBytes_ > maxBytes) return;
    std::string content;
    putFacts(content, facts);
    putNumber(content, static_cast<std::int64_t>(summary.date.time_since_epoch().count()));
    putNumber(content, static_cast<std::uint8_t>((kept.isMixed ? isMixed : 0) | (summary.isPartial ? isPartial : 0) |
                                                 (summary.messageID ? hasIdentifier : 0)));
    for (const std::string_view text : {name, std::string_view(summary.subject),
                                        summary.messageID ? std::string_view(*summary.messageID) : std::string_view()})
        putText(content, text);
    for (const auto* people : {&summary.from, &summary.to, &summary.cc}) putPeople(content, **people);
    putList(content, summary.inReplyTo);
    putList(content, summary.references);
    constexpr std::size_t longest = std::size_t{1} << 20;   // one mail with an absurd head does not make up the file
    if (content.size() > longest) return;
    enterKept(folder);
    ++added_;
    auto& bytes = own_.emplace_back(1, messageMark);
    putText(bytes, content);
    kept_.push_back(bytes);
    keptBytes_ += bytes.size();
}

void SummaryCache::save() const {
    if (added_ == 0 && reused_ == loaded_ && loaded_ > 0) return;
    std::uint32_t sum = 0;
    for (const auto bytes : kept_) sum = checksum(sum, bytes);
    std::string content = head_;
    content.reserve(head_.size() + sizeof sum + keptBytes_);
    putNumber(content, sum);
    for (const auto bytes : kept_) content += bytes;
    files::createPrivateFolder(file_.parent_path());
    files::writeAtomically(file_, bytesOf(content));
    removeOldest(file_.parent_path());
}

}   // namespace ostrel
