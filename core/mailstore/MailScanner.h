#pragma once

#include "core/mailstore/MailIndex.h"
#include "core/mailstore/SummaryCache.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

namespace ostrel {

// The mail folder itself cannot be read.
class MailAccessError : public std::runtime_error {
public:
    enum class Kind { noPermission, notFound };
    MailAccessError(Kind kind, const std::filesystem::path& folder);
    const Kind kind;
};

// Walks a mail folder (a store, a copy of one, or one mailbox) read-only.
namespace MailScanner {

std::filesystem::path defaultMailFolder(const std::filesystem::path& home);

// Returns the folder to walk: the sub-folder "V<n>" with the largest n, else the folder itself.
std::filesystem::path dataRoot(const std::filesystem::path& folder);

// Returns why the folder cannot be read; nullopt if it can be listed.
std::optional<MailAccessError::Kind> checkAccess(const std::filesystem::path& folder);

// onMyMac: label of the account that stands for this computer. progress receives the number of messages found so far,
// every 200 and at the end; cancelled is asked before each message file, and a stopped scan returns what it had found.
// Both run on the calling thread. Throws MailAccessError.
// cachePlace: where summaries are kept from one scan to the next; nullopt: none are. The result is the same.
MailIndex scan(const std::filesystem::path& folder, const std::string& onMyMac,
               const std::function<void(std::size_t)>& progress, const std::function<bool()>& cancelled,
               const std::optional<SummaryCache::Place>& cachePlace = std::nullopt);

}   // namespace MailScanner
}   // namespace ostrel
