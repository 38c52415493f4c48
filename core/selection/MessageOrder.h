#pragma once

#include "core/mailstore/MailIndex.h"

#include <cstdint>
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

    // The positions of all messages in that order.
    std::vector<std::uint32_t> sorted(const SortOrder& order) const;

private:
    std::vector<std::uint32_t> dates_, senders_, subjects_;   // ranks, equal for equal keys
};

}   // namespace ostrel
