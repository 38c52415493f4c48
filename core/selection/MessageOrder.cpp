#include "core/selection/MessageOrder.h"

#include "core/selection/TextNumbers.h"
#include "platform/LocaleFormat.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <string>
#include <string_view>
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
    // Their keys stand in one piece of memory, a third of what each takes in one of its own; a key is two to three
    // times as long as its text, and room that is not used costs nothing.
    TextNumbers numbers(messages.size());
    std::string sortKeys;
    std::vector<std::size_t> ends;   // of each number's key, which starts where the one before ends
    sortKeys.reserve(3 * std::transform_reduce(messages.begin(), messages.end(), std::size_t{0}, std::plus(),
                                               [&](const auto& message) { return textOf(message).size(); }));
    Key key;
    key.ranks.reserve(messages.size());
    for (const auto& message : messages) {
        const std::string& text = textOf(message);
        const auto [number, isNew] = numbers.of(text);
        if (isNew) {
            sortKeys += locale::sortKey(text);
            ends.push_back(sortKeys.size());
        }
        key.ranks.push_back(number);
    }
    const auto keyOf = [&](std::uint32_t number) {
        const std::size_t start = number == 0 ? 0 : ends[number - 1];
        return std::string_view(sortKeys).substr(start, ends[number] - start);
    };
    key.count = static_cast<std::uint32_t>(ends.size());
    std::vector<std::uint32_t> order(key.count), rankOf(key.count);
    std::iota(order.begin(), order.end(), std::uint32_t{0});
    std::ranges::sort(order, [&](auto a, auto b) {
        const int difference = keyOf(a).compare(keyOf(b));
        return difference != 0 ? difference < 0 : a < b;
    });
    for (std::uint32_t rank = 0; rank < key.count; ++rank) rankOf[order[rank]] = rank;
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
    for (auto comparator = order.rbegin(); comparator != order.rend(); ++comparator) {
        const Key& by = key(comparator->key);
        positions = sortedByRank(positions, by.ranks, by.count, comparator->ascending);
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
