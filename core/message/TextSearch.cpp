#include "core/message/TextSearch.h"

#include <algorithm>
#include <cstdint>

namespace ostrel::textSearch {
namespace {

// The automaton of Aho and Corasick over a set of patterns. Built level by level from the sorted patterns, so that the
// children of a node are neighbours and a node takes nine bytes: a message of 50 MB may be half patterns.
class Automaton {
public:
    // Patterns longer than the limit are left out: they occur nowhere.
    Automaton(const std::vector<std::string>& patterns, std::size_t lengthLimit) : terminal_(patterns.size(), none) {
        std::vector<std::uint32_t> order;
        for (std::uint32_t i = 0; i < patterns.size(); ++i) {
            if (patterns[i].size() <= lengthLimit) order.push_back(i);
        }
        std::ranges::sort(order, {}, [&](std::uint32_t i) -> const std::string& { return patterns[i]; });
        addNode(0, root);
        for (std::vector<Open> level = {{root, 0, static_cast<std::uint32_t>(order.size())}}; !level.empty();
             ++depth_) {
            level = addLevelBelow(level, order, patterns);
        }
        firstChild_.push_back(static_cast<std::uint32_t>(label_.size()));   // where the last node's children end
    }

    // Which patterns occur in the text.
    std::vector<bool> run(std::string_view text) const {
        std::vector<bool> seen(label_.size());
        auto state = root;
        seen[root] = true;
        for (std::size_t at = 0; at < text.size(); ++at) {
            if (state == root) {
                at = nextStart(text, at);
                if (at == text.npos) break;
            }
            state = next(state, text[at]);
            seen[state] = true;
        }
        // What was seen of a node was also seen of every suffix of it; suffixes are shorter, so they have lower
        // numbers.
        for (auto node = seen.size(); node-- > 1;) {
            if (seen[node]) seen[fallback_[node]] = true;
        }
        std::vector<bool> result(terminal_.size());
        for (std::size_t i = 0; i < result.size(); ++i) result[i] = terminal_[i] != none && seen[terminal_[i]];
        return result;
    }

private:
    using Node = std::uint32_t;
    static constexpr Node root = 0;
    static constexpr Node none = UINT32_MAX;

    // A node whose children are still to be made, and the range of sorted patterns that begin with its text.
    struct Open {
        Node node;
        std::uint32_t begin, end;
    };

    Node addNode(char label, Node fallback) {
        label_.push_back(label);
        fallback_.push_back(fallback);
        return static_cast<Node>(label_.size() - 1);
    }

    std::vector<Open> addLevelBelow(const std::vector<Open>& level, const std::vector<std::uint32_t>& order,
                                    const std::vector<std::string>& patterns) {
        std::vector<Open> below;
        for (auto [parent, begin, end] : level) {
            firstChild_.push_back(static_cast<std::uint32_t>(label_.size()));
            for (; begin < end && patterns[order[begin]].size() == depth_; ++begin) terminal_[order[begin]] = parent;
            while (begin < end) {
                const char label = patterns[order[begin]][depth_];
                auto groupEnd = begin + 1;
                while (groupEnd < end && patterns[order[groupEnd]][depth_] == label) ++groupEnd;
                const auto fallback = parent == root ? root : next(fallback_[parent], label);
                below.push_back({addNode(label, fallback), begin, groupEnd});
                begin = groupEnd;
            }
        }
        return below;
    }

    Node child(Node node, char label) const {
        const auto begin = label_.begin() + firstChild_[node], end = label_.begin() + firstChild_[node + 1];
        const auto found = std::lower_bound(begin, end, label, [](char a, char b) {
            return static_cast<unsigned char>(a) < static_cast<unsigned char>(b);
        });
        return found == end || *found != label ? none : static_cast<Node>(found - label_.begin());
    }

    Node next(Node node, char label) const {
        for (;; node = fallback_[node]) {
            if (const auto to = child(node, label); to != none) return to;
            if (node == root) return root;
        }
    }

    // Where a pattern may begin. Ours all begin alike, so that most of a text is passed over at memchr's speed.
    std::size_t nextStart(std::string_view text, std::size_t from) const {
        const auto begin = firstChild_[root], end = firstChild_[root + 1];
        if (begin == end) return text.npos;
        return end - begin == 1 ? text.find(label_[begin], from) : from;
    }

    std::size_t depth_ = 0;
    std::vector<char> label_;                 // of the edge that leads to the node
    std::vector<Node> fallback_;              // the longest proper suffix that is a node too
    std::vector<std::uint32_t> firstChild_;   // the children end where the next node's begin
    std::vector<Node> terminal_;              // by pattern
};

}   // namespace

std::vector<bool> occurrences(std::string_view text, const std::vector<std::string>& patterns) {
    return Automaton(patterns, text.size()).run(text);
}

std::vector<std::size_t> positions(std::string_view text, std::string_view pattern) {
    if (pattern.empty() || pattern.size() > text.size()) return {};
    // border[i]: length of the longest proper prefix of pattern[0, i) that is also its suffix.
    std::vector<std::size_t> border(pattern.size() + 1);
    std::vector<std::size_t> found;
    const auto advance = [&](std::size_t matched, char c) {
        while (matched > 0 && (matched == pattern.size() || pattern[matched] != c)) matched = border[matched];
        return pattern[matched] == c ? matched + 1 : matched;
    };
    for (std::size_t i = 1, matched = 0; i < pattern.size(); ++i)
        border[i + 1] = matched = advance(matched, pattern[i]);
    for (std::size_t i = 0, matched = 0; i < text.size(); ++i) {
        matched = advance(matched, text[i]);
        if (matched == pattern.size()) found.push_back(i + 1 - matched);
    }
    return found;
}

}   // namespace ostrel::textSearch
