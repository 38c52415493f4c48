#include "core/mailstore/HeadsAhead.h"

#include "core/mailstore/Emlx.h"
#include "platform/Files.h"
#include "platform/Text.h"

#include <chrono>
#include <utility>

namespace ostrel {
namespace {

// A few files at a time, so that handing them over costs nothing beside reading them; on a slow disk fewer, so that
// neither the progress nor an end that is asked for waits.
constexpr std::size_t maxInBatch = 64;
constexpr auto longestBatch = std::chrono::milliseconds(50);
constexpr std::size_t maxBatches = 4;

files::Walk notYet(const files::Entry& entry) {
    if (entry.name == "MailData" || entry.name == "Attachments")
        return entry.isFolder ? files::Walk::skipFolder : files::Walk::on;
    return files::Walk::on;
}

bool isMessageFile(const files::Entry& entry) {
    constexpr std::string_view ending = ".emlx";
    return entry.name.size() >= ending.size() &&
           text::lowerASCII(entry.name.substr(entry.name.size() - ending.size())) == ending;
}

}   // namespace

HeadsAhead::HeadsAhead(std::filesystem::path root, SummaryCache* cache) : cache_(cache) {
    for (std::size_t i = 0; i < maxBatches; ++i) spare_.push_back(std::make_unique<Batch>());
    reader_ = std::jthread([this, root = std::move(root)](const std::stop_token& stop) {
        std::exception_ptr failure;
        try {
            readAll(root, stop);
        } catch (...) {
            failure = std::current_exception();
        }
        const std::scoped_lock lock(mutex_);
        failure_ = failure;
        isEnded_ = true;
        changed_.notify_all();
    });
}

void HeadsAhead::readAll(const std::filesystem::path& root, const std::stop_token& stop) {
    using Clock = std::chrono::steady_clock;
    auto batch = emptyBatch(stop);
    auto begun = Clock::now();
    files::walk(root, files::Hidden::skip, [&](const files::Entry& entry) {
        if (!isMessageFile(entry)) return notYet(entry);
        if (!batch) return files::Walk::stop;
        batch->heads.push_back(readHead(entry, batch->blocks));
        if (batch->heads.size() >= maxInBatch || Clock::now() - begun > longestBatch) {
            hand(std::move(batch));
            batch = emptyBatch(stop);
            begun = Clock::now();
        }
        return files::Walk::on;
    });
    if (batch) hand(std::move(batch));
}

// blocks: takes the header block.
HeadsAhead::Head HeadsAhead::readHead(const files::Entry& entry, std::string& blocks) {
    Head head{.file = entry.path};
    if (const auto facts = cache_ ? files::facts(entry) : std::nullopt) {
        const std::string_view path = entry.path.native();
        head.kept = cache_->find(path.substr(0, path.size() - entry.name.size()), entry.name, *facts);
        head.isReadable = !head.kept.empty();
    }
    if (head.isReadable) return head;
    const std::size_t before = blocks.size();
    try {
        files::ReadHandle handle(entry);
        Emlx::readHeaderBlock(handle, blocks);
        head.facts = handle.facts();
        head.modified = handle.modificationDate();
        head.isReadable = true;
    } catch (const Emlx::ReadError&) {
    } catch (const FileError&) {
    }
    head.size = blocks.size() - before;
    return head;
}

HeadsAhead::BatchPtr HeadsAhead::emptyBatch(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait(lock, stop, [&] { return !spare_.empty(); })) return nullptr;
    auto batch = std::move(spare_.front());
    spare_.pop_front();
    batch->heads.clear();
    batch->blocks.clear();
    return batch;
}

void HeadsAhead::hand(BatchPtr batch) {
    const std::scoped_lock lock(mutex_);
    read_.push_back(std::move(batch));
    changed_.notify_all();
}

bool HeadsAhead::takeBatch() {
    std::unique_lock lock(mutex_);
    if (batch_) {
        spare_.push_back(std::move(batch_));
        changed_.notify_all();
    }
    changed_.wait(lock, [&] { return !read_.empty() || isEnded_; });
    if (read_.empty()) {
        if (failure_) std::rethrow_exception(failure_);
        return false;
    }
    batch_ = std::move(read_.front());
    read_.pop_front();
    at_ = blockStart_ = 0;
    return true;
}

const HeadsAhead::Head* HeadsAhead::next() {
    while (!batch_ || at_ == batch_->heads.size())
        if (!takeBatch()) return nullptr;
    const Head& head = batch_->heads[at_++];
    block_ = bytesOf(batch_->blocks).subspan(blockStart_, head.size);
    blockStart_ += head.size;
    return &head;
}

}   // namespace ostrel
