#include "core/export/Verification.h"

#include "core/archive/Archive.h"
#include "core/export/CSVIndex.h"
#include "core/export/Update.h"

#include <algorithm>
#include <map>
#include <optional>
#include <tuple>
#include <utility>

namespace ostrel::Verification {

namespace {

namespace fs = std::filesystem;
using Kind = Finding::Kind;

class Check {
public:
    explicit Check(const fs::path& folder)
        : folder_(folder), archive_(Archive::read(folder)), present_(listArchive(folder)) {
        if (!archive_.hasSums && !archive_.hasMessages && !archive_.isUnfinished)
            throw UpdateError(UpdateError::Kind::noArchive, folder);
    }

    Result run(const std::function<void(std::size_t done, std::size_t total)>& progress,
               const std::stop_token& cancel) {
        expect();
        result_.files = expected_.size();
        for (const auto& [name, digest] : expected_) {
            if (cancel.stop_requested()) {
                result_.isCancelled = true;
                return std::move(result_);
            }
            progress(done_++, expected_.size());
            checkFile(name, digest);
        }
        progress(expected_.size(), expected_.size());
        if (archive_.isUnfinished) add(Kind::unfinished, Archive::journalName);
        checkSums();
        checkStrange();
        checkRows();
        std::ranges::stable_sort(result_.findings, {},
                                 [](const Finding& finding) { return std::tie(finding.kind, finding.name); });
        return std::move(result_);
    }

private:
    void add(Kind kind, std::string name) { result_.findings.push_back({kind, std::move(name), {}}); }

    // What ought to be there. The sums say so, and for a run that has not written its sums yet its journal; without
    // sums the lines about the messages.
    void expect() {
        for (const ArchivedFile& file : archive_.sums) expected_[file.name] = file.digest;
        const auto lines = expected_.find(Archive::messagesName);
        linesAreWhole_ = lines != expected_.end() && archive_.messagesDigest == lines->second;
        for (const ArchivedMessage& message : archive_.messages) {
            for (const ArchivedFile& file : message.files) {
                const auto [found, isNew] = expected_.try_emplace(file.name, file.digest);
                const bool differs = isNew || found->second != file.digest;
                if (!differs) continue;
                if (archive_.isUnfinished || !archive_.hasSums) {
                    found->second = file.digest;
                } else if (linesAreWhole_) {
                    found->second = file.digest;   // two files agree that the lines are right: the sums are not
                    sumsDiffer_ = true;
                } else if (isNew) {
                    expected_.erase(found);
                }
            }
        }
        if (sumsDiffer_) forgetUnknownSums();
    }
    // A name that only a changed line of the sums has is nobody's.
    void forgetUnknownSums() {
        std::map<std::string, Digest> known;
        for (const ArchivedMessage& message : archive_.messages) {
            for (const ArchivedFile& file : message.files) known.emplace(file.name, file.digest);
        }
        std::erase_if(expected_, [&](const auto& file) {
            return file.first != Archive::indexName && file.first != Archive::messagesName &&
                   !known.contains(file.first);
        });
    }

    void checkFile(const std::string& name, const Digest& digest) {
        if (!present_.contains(name)) {
            missing_.emplace(digest, result_.findings.size());
            return add(Kind::missing, name);
        }
        if (digestInArchive(folder_, name) == digest) {
            ++result_.whole;
        } else {
            changed_.push_back(name);
            add(Kind::changed, name);
        }
    }

    void checkSums() {
        if (archive_.hasSums && (archive_.damagedSums > 0 || sumsDiffer_)) add(Kind::changed, Archive::sumsName);
        if (archive_.isUnfinished) return;   // they are written last
        if (!archive_.hasSums) add(Kind::missing, Archive::sumsName);
        const bool isSummed = expected_.contains(Archive::messagesName);
        if (!archive_.hasMessages && !isSummed) add(Kind::missing, Archive::messagesName);
        if (archive_.hasMessages && !isSummed && archive_.damagedMessages > 0)
            add(Kind::changed, Archive::messagesName);
    }

    void checkStrange() {
        for (const auto& [name, status] : present_) {
            if (expected_.contains(name) || name == Archive::sumsName || name == Archive::journalName) continue;
            const bool isOurs = name == Archive::indexName || name == Archive::messagesName;
            if (isOurs && (archive_.isUnfinished || !archive_.hasSums || archive_.damagedSums > 0)) continue;
            if (archive_.claims.contains(name)) continue;
            add(Kind::strange, name);
            if (missing_.empty()) continue;
            const auto digest = digestInArchive(folder_, name);
            const auto twin = digest ? missing_.find(*digest) : missing_.end();
            if (twin == missing_.end()) continue;
            result_.findings[twin->second].renamed = name;
            missing_.erase(twin);
        }
    }

    // Rows are judged only where the index is the one that was written and everything it lists has been.
    void checkRows() {
        if (archive_.isUnfinished || std::ranges::find(changed_, Archive::indexName) != changed_.end()) return;
        if (!files::isRegularFile(folder_ / Archive::indexName)) return;
        const Bytes index = files::readWhole(folder_ / Archive::indexName);
        std::size_t number = 1;
        for (const CSVIndex::Names& row : CSVIndex::namesIn(index.chars())) {
            ++number;
            const bool hasPDF = row.pdf.empty() || expected_.contains(row.pdf);
            const bool hasAttachments = row.folder.empty() || row.attachments == std::to_string(filesIn(row.folder));
            if (!hasPDF || !hasAttachments) add(Kind::row, std::to_string(number));
        }
    }
    std::size_t filesIn(const std::string& folder) const {
        const std::string prefix = folder + '/';
        std::size_t count = 0;
        for (auto file = expected_.lower_bound(prefix); file != expected_.end() && file->first.starts_with(prefix);
             ++file)
            ++count;
        return count;
    }

    const fs::path& folder_;
    const Archive archive_;
    const ArchiveFiles present_;
    std::map<std::string, Digest> expected_;
    bool linesAreWhole_ = false, sumsDiffer_ = false;
    std::multimap<Digest, std::size_t> missing_;   // to their place in the findings
    std::vector<std::string> changed_;
    std::size_t done_ = 0;
    Result result_;
};

}   // namespace

Result verify(const fs::path& folder, const std::function<void(std::size_t done, std::size_t total)>& progress,
              const std::stop_token& cancel) {
    return Check(folder).run(progress, cancel);
}

}   // namespace ostrel::Verification
