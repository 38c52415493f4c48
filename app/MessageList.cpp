#include "app/MessageList.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace ostrel {

namespace {

// Half the bits halve the memory; what collides is told apart by comparing.
std::uint32_t hashOf(const std::string& id) { return static_cast<std::uint32_t>(std::hash<std::string>()(id)); }

}   // namespace

MessageLookup::MessageLookup(const MailIndex& index) {
    entries_.reserve(index.messages.size());
    for (const auto& message : index.messages)
        entries_.push_back({hashOf(message.id()), static_cast<std::uint32_t>(entries_.size())});
    std::ranges::sort(entries_);
}

std::optional<std::uint32_t> MessageLookup::position(const MailIndex& index, const std::string& id) const {
    const std::uint32_t hash = hashOf(id);
    auto entry = std::ranges::lower_bound(entries_, hash, {}, &Entry::hash);
    for (; entry != entries_.end() && entry->hash == hash; ++entry) {
        if (index.messages[entry->position].id() == id) return entry->position;
    }
    return std::nullopt;
}

MessageList::MessageList(std::shared_ptr<const MailIndex> index, std::vector<std::uint32_t> rows,
                         std::shared_ptr<const MessageLookup> lookup)
    : index_(std::move(index)),
      rows_(std::make_shared<const std::vector<std::uint32_t>>(std::move(rows))),
      lookup_(std::move(lookup)) {}

std::optional<std::size_t> MessageList::find(const std::string& id) const {
    if (empty()) return std::nullopt;
    const auto position = lookup_ ? lookup_->position(*index_, id) : std::nullopt;
    if (lookup_ && !position) return std::nullopt;
    const auto found = std::ranges::find_if(
        *rows_, [&](auto row) { return position ? row == *position : index_->messages[row].id() == id; });
    if (found == rows_->end()) return std::nullopt;
    return static_cast<std::size_t>(found - rows_->begin());
}

bool MessageList::operator==(const MessageList& other) const {
    if (empty() && other.empty()) return index_ == other.index_;
    return index_ == other.index_ && size() == other.size() && (rows_ == other.rows_ || *rows_ == *other.rows_);
}

}   // namespace ostrel
