#pragma once

#include "core/mailstore/SummaryCache.h"
#include "platform/Bytes.h"
#include "platform/FilePath.h"
#include "platform/Files.h"
#include "platform/Time.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace ostrel {

// The heads of a mail folder's message files in the order of a walk, read a little ahead on a thread of their own:
// the system takes as long to open and read a file as a scan to make something of its head.
class HeadsAhead {
public:
    struct Head {
        FilePath file;
        SummaryCache::Entry kept{};   // of the file, which then is not opened
        files::Facts facts{};
        Instant modified{};        // the file's modification date
        std::size_t size = 0;      // of the header block
        bool isReadable = false;   // false: cannot be opened, or no message
    };

    // cache: what was kept of earlier reading, or null. Must outlive this.
    explicit HeadsAhead(std::filesystem::path root, SummaryCache* cache);
    HeadsAhead(const HeadsAhead&) = delete;
    HeadsAhead& operator=(const HeadsAhead&) = delete;

    // The next one, or null at the end; its header block is then headerBlock(), empty where an entry was kept. Both
    // live until the next call. Throws FileError when the folder itself cannot be listed.
    const Head* next();
    ByteView headerBlock() const { return block_; }

private:
    struct Batch {
        std::vector<Head> heads;
        std::string blocks;   // one behind the other
    };
    using BatchPtr = std::unique_ptr<Batch>;

    void readAll(const std::filesystem::path& root, const std::stop_token& stop);
    Head readHead(const files::Entry& entry, std::string& blocks);
    // Waits while too much is read already; null when stopped.
    BatchPtr emptyBatch(const std::stop_token& stop);
    void hand(BatchPtr batch);
    bool takeBatch();

    SummaryCache* const cache_;   // the reading thread finds entries in it
    std::mutex mutex_;
    std::condition_variable_any changed_;
    std::deque<BatchPtr> read_, spare_;
    bool isEnded_ = false;
    std::exception_ptr failure_;

    // What is being taken.
    BatchPtr batch_;
    std::size_t at_ = 0, blockStart_ = 0;
    ByteView block_;

    std::jthread reader_;   // last: it uses all of the above
};

}   // namespace ostrel
