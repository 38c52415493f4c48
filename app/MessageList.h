#pragma once

#include "core/mailstore/MailIndex.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

// The messages of an index that are shown, in the order shown. A value: cheap to copy, never changes.
class MessageList {
public:
    MessageList() = default;
    // rows: positions in index->messages, each at most once.
    MessageList(std::shared_ptr<const MailIndex> index, std::vector<std::uint32_t> rows);

    std::size_t size() const { return rows_ ? rows_->size() : 0; }
    bool empty() const { return size() == 0; }
    const MessageSummary& operator[](std::size_t row) const { return index_->messages[(*rows_)[row]]; }
    // Position in the index of the message in that row: the same message keeps it in every list of one index.
    std::uint32_t position(std::size_t row) const { return (*rows_)[row]; }
    // The row of the message with that MessageSummary::id.
    std::optional<std::size_t> find(const std::string& id) const;
    const std::shared_ptr<const MailIndex>& index() const { return index_; }

    // The same messages of the same index in the same order.
    bool operator==(const MessageList& other) const;

private:
    std::shared_ptr<const MailIndex> index_;
    std::shared_ptr<const std::vector<std::uint32_t>> rows_;
};

}   // namespace ostrel
