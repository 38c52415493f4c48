#pragma once

#include "core/mailstore/MailIndex.h"
#include "platform/Time.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ostrel {

// A list of summaries prepared for filtering: every text folded once, equal texts kept once. Owns what it needs; the
// list may change or go afterwards, positions refer to it as it was. Safe to use from several threads.
class SearchableMessages {
public:
    SearchableMessages() = default;
    explicit SearchableMessages(const std::vector<MessageSummary>& messages);
    std::size_t size() const { return records_.size(); }

private:
    friend struct MessageFilter;

    // Folded texts one behind the other, so that one run over contiguous memory searches them all.
    class Texts {
    public:
        std::uint32_t add(std::string_view folded);   // its number, counted from 0
        std::size_t size() const { return starts_.size(); }
        // By number: 1 where the text holds every one of the words, none of which may be empty.
        std::vector<std::uint8_t> holding(std::vector<std::string_view> words) const;

    private:
        std::string_view at(std::size_t number) const;
        std::string blob_;   // each text followed by a line feed, which folding leaves in none
        std::vector<std::size_t> starts_;
    };
    struct Record {
        Instant date;
        std::uint32_t mailbox;      // number in mailboxes_
        std::uint32_t identifier;   // number of the Message-ID, from 1; 0 when there is none
        std::uint32_t subject;      // number in subjects_
        std::uint32_t peopleEnd;    // behind its last entry in recordPeople_; it starts where the record before ends
    };

    Texts people_, subjects_;   // "name <address>", so that a line copied from a message is found too
    std::vector<std::uint32_t> recordPeople_;
    std::vector<Record> records_;
    std::unordered_map<std::string, std::uint32_t> mailboxes_;
    std::uint32_t identifierCount_ = 0;
};

// Which messages of the list are shown and exported.
struct MessageFilter {
    std::optional<std::set<std::string>> mailboxes = {};   // absent: all; empty: none
    std::optional<Day> startDay = {}, endDay = {};         // whole days, both included
    std::string person = {};                               // found in one name or one address of From, To or Cc
    std::string subject = {};                              // words, each found in the subject, in any order
    bool skipDuplicates = true;                            // of messages with one Message-ID keep the first in the list

    // True when a person, subject or date is asked for; blanks ask for nothing.
    bool hasCriteria() const;
    // Positions of the messages that pass, ascending. Case and accents do not matter; days are days of the calendar,
    // and a start after the end leaves nothing. Duplicates are sought among the messages that pass everything else, so
    // that the copy in a mailbox that is not shown hides no other; a message without a Message-ID is nobody's
    // duplicate.
    std::vector<std::uint32_t> matches(const SearchableMessages& messages, const Calendar& calendar) const;
    // The same on a plain list, which is prepared anew each time: those of its messages that pass.
    std::vector<const MessageSummary*> apply(const std::vector<MessageSummary>& messages,
                                             const Calendar& calendar) const;

    bool operator==(const MessageFilter&) const = default;
};

}   // namespace ostrel
