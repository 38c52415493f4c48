#include "core/selection/Threads.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace ostrel::Threads {

namespace {

// Disjoint sets of numbers: path halving and union by size, so a chain of any length costs next to nothing per link.
class Sets {
public:
    std::uint32_t add() {
        parents_.push_back(static_cast<std::uint32_t>(parents_.size()));
        sizes_.push_back(1);
        return parents_.back();
    }
    std::uint32_t find(std::uint32_t member) {
        while (parents_[member] != member) member = parents_[member] = parents_[parents_[member]];
        return member;
    }
    void join(std::uint32_t one, std::uint32_t other) {
        one = find(one);
        other = find(other);
        if (one == other) return;
        if (sizes_[one] < sizes_[other]) std::swap(one, other);
        parents_[other] = one;
        sizes_[one] += sizes_[other];
    }
    std::size_t size() const { return parents_.size(); }

private:
    std::vector<std::uint32_t> parents_, sizes_;
};

// One set member per message and per identifier that any message names. An identifier joins its message and all that
// refer to it, whether the message that bears it is in the list or was deleted long ago.
class Grouping {
public:
    // The group of each message of the list; equal numbers, equal group.
    std::vector<std::uint32_t> groups(const std::vector<const MessageSummary*>& messages) {
        std::vector<std::uint32_t> members;
        members.reserve(messages.size());
        identifiers_.reserve(messages.size());
        for (const MessageSummary* message : messages) {
            const auto member = sets_.add();
            members.push_back(member);
            if (message->messageID) refer(member, *message->messageID);
            for (const auto& identifier : message->inReplyTo.texts()) refer(member, identifier);
            for (const auto& identifier : message->references.texts()) refer(member, identifier);
        }
        for (auto& member : members) member = sets_.find(member);
        return members;
    }
    std::size_t memberCount() const { return sets_.size(); }

private:
    void refer(std::uint32_t member, std::string_view identifier) {
        if (identifier.empty()) return;
        const auto [known, isNew] = identifiers_.try_emplace(identifier, 0);
        if (isNew) known->second = sets_.add();
        sets_.join(member, known->second);
    }

    Sets sets_;
    std::unordered_map<std::string_view, std::uint32_t> identifiers_;   // views into the list
};

std::string spell(std::size_t number, std::size_t width) {
    auto identifier = std::to_string(number);
    identifier.insert(0, width - std::min(width, identifier.size()), '0');
    return identifier.insert(0, 1, 'C');
}

}   // namespace

std::vector<std::string> assign(const std::vector<const MessageSummary*>& messages) {
    Grouping grouping;
    auto numbers = grouping.groups(messages);

    std::vector<std::uint32_t> numberOfGroup(grouping.memberCount(), 0);
    std::uint32_t count = 0;
    for (auto& number : numbers) {
        auto& given = numberOfGroup[number];
        if (given == 0) given = ++count;
        number = given;
    }

    const auto width = std::max<std::size_t>(4, std::to_string(count).size());
    std::vector<std::string> identifiers;
    identifiers.reserve(messages.size());
    for (const auto number : numbers) identifiers.push_back(spell(number, width));
    return identifiers;
}

}   // namespace ostrel::Threads
