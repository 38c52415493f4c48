#include "core/selection/MessageOrder.h"

#include "platform/LocaleFormat.h"

#include <algorithm>
#include <numeric>
#include <ranges>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace ostrel {
namespace {

// The positions in the order of their ranks, those of equal rank as they were: a counting sort.
std::vector<std::uint32_t> sortedByRank(const std::vector<std::uint32_t>& positions,
                                        const std::vector<std::uint32_t>& ranks, std::uint32_t count, bool ascending) {
    const auto bucket = [&](std::uint32_t position) {
        return ascending ? ranks[position] : count - 1 - ranks[position];
    };
    std::vector<std::uint32_t> starts(count + std::size_t{1}, 0);
    for (const auto position : positions) ++starts[bucket(position) + std::size_t{1}];
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    std::vector<std::uint32_t> sorted(positions.size());
    for (const auto position : positions) sorted[starts[bucket(position)]++] = position;
    return sorted;
}

}   // namespace

SortableMessages::Key SortableMessages::dateKey(const std::vector<MessageSummary>& messages) {
    std::vector<std::pair<Instant, std::uint32_t>> dated;
    dated.reserve(messages.size());
    for (const auto& message : messages) dated.emplace_back(message.date, static_cast<std::uint32_t>(dated.size()));
    std::ranges::sort(dated);
    Key key{std::vector<std::uint32_t>(messages.size()), 0};
    for (std::size_t i = 0; i < dated.size(); ++i) {
        if (i == 0 || dated[i].first != dated[i - 1].first) ++key.count;
        key.ranks[dated[i].second] = key.count - 1;
    }
    return key;
}

SortableMessages::Key SortableMessages::textKey(const std::vector<MessageSummary>& messages,
                                                const std::string& (*textOf)(const MessageSummary&)) {
    // To collate is slow: once for each different text, and from then on bytes are compared.
    // Their keys stand in one piece of memory, a third of what each takes in one of its own.
    struct Collated {
        std::size_t start, size;
        std::uint32_t number;
    };
    std::unordered_map<std::string_view, std::uint32_t> numbers;
    std::vector<Collated> collated;
    std::string sortKeys;
    Key key;
    key.ranks.reserve(messages.size());
    for (const auto& message : messages) {
        const std::string& text = textOf(message);
        const auto [known, isNew] = numbers.try_emplace(text, static_cast<std::uint32_t>(numbers.size()));
        if (isNew) {
            const std::size_t start = sortKeys.size();
            sortKeys += locale::sortKey(text);
            collated.push_back({start, sortKeys.size() - start, known->second});
        }
        key.ranks.push_back(known->second);
    }
    const std::string_view all = sortKeys;
    std::ranges::sort(collated, [all](const Collated& a, const Collated& b) {
        const int order = all.substr(a.start, a.size).compare(all.substr(b.start, b.size));
        return order != 0 ? order < 0 : a.number < b.number;
    });
    key.count = static_cast<std::uint32_t>(collated.size());
    std::vector<std::uint32_t> rankOf(collated.size());
    for (std::uint32_t rank = 0; rank < key.count; ++rank) rankOf[collated[rank].number] = rank;
    for (auto& number : key.ranks) number = rankOf[number];
    return key;
}

SortableMessages::SortableMessages(const std::vector<MessageSummary>& messages)
    : dates_(dateKey(messages)),
      senders_(
          textKey(messages, [](const MessageSummary& message) -> const std::string& { return message.fromLine(); })),
      subjects_(
          textKey(messages, [](const MessageSummary& message) -> const std::string& { return message.subject; })) {}

std::vector<std::uint32_t> SortableMessages::sorted(const SortOrder& order) const {
    std::vector<std::uint32_t> positions(size());
    std::iota(positions.begin(), positions.end(), std::uint32_t{0});
    // Every sort keeps the order of what it holds for equal, so the one that decides first comes last.
    for (const auto& comparator : std::views::reverse(order)) {
        const Key& by = key(comparator.key);
        positions = sortedByRank(positions, by.ranks, by.count, comparator.ascending);
    }
    return positions;
}

const SortableMessages::Key& SortableMessages::key(SortKey of) const {
    switch (of) {
        case SortKey::from:
            return senders_;
        case SortKey::subject:
            return subjects_;
        case SortKey::date:
            break;
    }
    return dates_;
}

}   // namespace ostrel
