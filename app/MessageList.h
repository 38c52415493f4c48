#pragma once

#include "core/mailstore/MailIndex.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ostrel {

// Finds the messages of an index by their identity without comparing them all.
class MessageLookup {
public:
    explicit MessageLookup(const MailIndex& index);
    // The position in index.messages, which must be those of the index it was made for.
    std::optional<std::uint32_t> position(const MailIndex& index, const std::string& id) const;

private:
    struct Entry {
        std::uint32_t hash, position;
        auto operator<=>(const Entry&) const = default;
    };
    std::vector<Entry> entries_;   // sorted
};

// The messages of an index that are shown, in the order shown. A value: cheap to copy, never changes.
class MessageList {
public:
    MessageList() = default;
    // rows: positions in index->messages, each at most once. Without a lookup, find compares one by one.
    MessageList(std::shared_ptr<const MailIndex> index, std::vector<std::uint32_t> rows,
                std::shared_ptr<const MessageLookup> lookup = nullptr);

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
    std::shared_ptr<const MessageLookup> lookup_;
};

}   // namespace ostrel
