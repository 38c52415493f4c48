#pragma once

#include "core/mailstore/MailIndex.h"
#include "platform/Time.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace ostrel {

// A list of summaries prepared for filtering: the searchable text of each, folded once. Owns what it needs; the list
// may change or go afterwards, positions refer to it as it was.
class SearchableMessages {
public:
    SearchableMessages() = default;
    explicit SearchableMessages(const std::vector<MessageSummary>& messages);
    std::size_t size() const { return records_.size(); }

private:
    friend struct MessageFilter;
    struct Record {
        std::uint32_t peopleStart, subjectStart, end;   // folded text in text_: people, then subject
        std::uint32_t mailbox;                          // number in mailboxes_
        std::uint32_t identifier;                       // number of the Message-ID; 0 when there is none
        Instant date;
    };
    std::string text_;
    std::vector<Record> records_;
    std::unordered_map<std::string, std::uint32_t> mailboxes_;
    std::uint32_t identifierCount_ = 0;
};

// Which messages of the list are shown and exported.
struct MessageFilter {
    std::optional<std::set<std::string>> mailboxes;   // absent: all; empty: none
    std::optional<Day> startDay, endDay;              // whole days, both included
    std::string person;                               // in a name or address of From, To or Cc
    std::string subject;                              // every word, in any order
    bool skipDuplicates = true;                       // of messages with one Message-ID keep the first in the list

    // True when a person, subject or date is asked for.
    bool hasCriteria() const;
    // Positions of the messages that pass, ascending. Case and accents do not matter; days are days of the calendar.
    std::vector<std::uint32_t> matches(const SearchableMessages& messages, const Calendar& calendar) const;
    // The same on a plain list.
    std::vector<MessageSummary> apply(const std::vector<MessageSummary>& messages, const Calendar& calendar) const;

    bool operator==(const MessageFilter&) const = default;
};

}   // namespace ostrel
