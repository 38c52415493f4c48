#pragma once

#include "core/mailstore/MailIndex.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ostrel {

// What a list of messages can be sorted by. Texts compare as a file manager does (locale::compare).
enum class SortKey { date, from, subject };   // from: MessageSummary::fromLine

struct SortComparator {
    SortKey key = SortKey::date;
    bool ascending = true;
    bool operator==(const SortComparator&) const = default;
};

// Applied in order; the first that tells two messages apart decides, then the order of the list.
using SortOrder = std::vector<SortComparator>;

// A list of summaries prepared for sorting: every key compared once and kept as a rank. Owns what it needs; positions
// refer to the list as it was. Safe to use from several threads.
class SortableMessages {
public:
    SortableMessages() = default;
    explicit SortableMessages(const std::vector<MessageSummary>& messages);

    std::size_t size() const { return dates_.ranks.size(); }
    // The positions of all messages in that order. Takes time linear in their number for every comparator.
    std::vector<std::uint32_t> sorted(const SortOrder& order) const;

private:
    struct Key {
        std::vector<std::uint32_t> ranks;   // by position; equal for equal keys
        std::uint32_t count = 0;            // of different ranks
    };
    static Key dateKey(const std::vector<MessageSummary>& messages);
    static Key textKey(const std::vector<MessageSummary>& messages,
                       const std::string& (*textOf)(const MessageSummary&));
    const Key& key(SortKey of) const;

    Key dates_, senders_, subjects_;
};

}   // namespace ostrel
