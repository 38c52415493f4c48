#include "core/selection/MessageFilter.h"

#include "core/selection/TextNumbers.h"
#include "platform/Text.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

namespace ostrel {

namespace {

std::size_t positionOf(std::string_view text, std::string_view wanted, std::size_t from) {
    const void* hit = memmem(text.data() + from, text.size() - from, wanted.data(), wanted.size());
    return hit ? static_cast<std::size_t>(static_cast<const char*>(hit) - text.data()) : text.npos;
}

std::string foldedQuery(std::string_view typed) {
    const auto folded = text::foldForSearch(typed);
    return std::string(text::trimASCII(folded, " "));
}

// Folding leaves single blanks between the words.
std::vector<std::string_view> wordsOf(std::string_view folded) {
    std::vector<std::string_view> words;
    while (!folded.empty()) {
        const auto size = std::min(folded.find(' '), folded.size());
        if (size > 0) words.push_back(folded.substr(0, size));
        folded.remove_prefix(std::min(size + 1, folded.size()));
    }
    return words;
}

Day dayAfter(Day day) {
    using namespace std::chrono;
    const year_month_day next = sys_days(year(day.year) / day.month / day.day) + days(1);
    return {static_cast<int>(next.year()), static_cast<int>(static_cast<unsigned>(next.month())),
            static_cast<int>(static_cast<unsigned>(next.day()))};
}

}   // namespace

std::uint32_t SearchableMessages::Texts::add(std::string_view folded) {
    starts_.push_back(blob_.size());
    blob_.append(folded).append(1, '\n');
    return static_cast<std::uint32_t>(starts_.size() - 1);
}

std::string_view SearchableMessages::Texts::at(std::size_t number) const {
    const auto end = number + 1 < starts_.size() ? starts_[number + 1] : blob_.size();
    return std::string_view(blob_).substr(starts_[number], end - starts_[number]);
}

std::vector<std::uint8_t> SearchableMessages::Texts::holding(std::vector<std::string_view> words) const {
    // The longest word leaves the fewest texts to look through for the others, and is the fastest to search for.
    std::ranges::sort(words, std::ranges::greater{}, &std::string_view::size);
    std::vector<std::uint8_t> holds(size(), words.empty() ? 1 : 0);
    if (words.empty()) return holds;
    const auto isInRest = [&](std::string_view text) {
        return std::all_of(words.begin() + 1, words.end(),
                           [&](auto word) { return positionOf(text, word, 0) != text.npos; });
    };
    std::size_t number = 0;
    for (auto hit = positionOf(blob_, words.front(), 0); hit != blob_.npos;
         hit = positionOf(blob_, words.front(), starts_[number])) {
        while (number + 1 < starts_.size() && starts_[number + 1] <= hit) ++number;
        holds[number] = isInRest(at(number)) ? 1 : 0;
        if (++number == starts_.size()) break;
    }
    return holds;
}

SearchableMessages::SearchableMessages(const std::vector<MessageSummary>& messages) {
    // The same people write again and again: folding each once is most of what makes preparing and searching fast.
    std::unordered_map<std::string, std::uint32_t> people;
    TextNumbers subjects(messages.size()), identifiers(messages.size());
    std::string key;
    records_.reserve(messages.size());
    for (const auto& message : messages) {
        for (const auto* addresses : {&message.from, &message.to, &message.cc}) {
            for (const auto& [name, email] : **addresses) {
                key.assign(name).append(" <").append(email).append(1, '>');
                const auto [known, isNew] = people.try_emplace(key, static_cast<std::uint32_t>(people.size()));
                if (isNew) people_.add(text::foldForSearch(key));
                recordPeople_.push_back(known->second);
            }
        }
        const auto subject = subjects.of(message.subject);
        if (subject.isNew) subjects_.add(text::foldForSearch(message.subject));
        const auto mailbox =
            mailboxes_.try_emplace(*message.mailboxID, static_cast<std::uint32_t>(mailboxes_.size())).first->second;
        const bool hasIdentifier = message.messageID && !message.messageID->empty();
        const auto identifier = hasIdentifier ? identifiers.of(*message.messageID).value + 1 : 0;
        identifierCount_ = std::max(identifierCount_, identifier);
        records_.push_back(
            {message.date, mailbox, identifier, subject.value, static_cast<std::uint32_t>(recordPeople_.size())});
    }
}

bool MessageFilter::hasCriteria() const {
    return startDay || endDay || !foldedQuery(person).empty() || !foldedQuery(subject).empty();
}

std::vector<std::uint32_t> MessageFilter::matches(const SearchableMessages& messages, const Calendar& calendar) const {
    const auto start = startDay ? calendar.startOfDay(*startDay) : Instant::min();
    const auto end = endDay ? calendar.startOfDay(dayAfter(*endDay)) : Instant::max();   // not included

    std::vector<std::uint8_t> isMailboxShown(messages.mailboxes_.size(), mailboxes ? 0 : 1);
    if (mailboxes) {
        for (const auto& id : *mailboxes) {
            const auto known = messages.mailboxes_.find(id);
            if (known != messages.mailboxes_.end()) isMailboxShown[known->second] = 1;
        }
    }
    const auto wantedPerson = foldedQuery(person);
    const auto wantedSubject = foldedQuery(subject);
    std::vector<std::uint8_t> isPersonWanted, isSubjectWanted;
    if (!wantedPerson.empty()) isPersonWanted = messages.people_.holding({wantedPerson});
    if (!wantedSubject.empty()) isSubjectWanted = messages.subjects_.holding(wordsOf(wantedSubject));

    std::vector<std::uint8_t> isIdentifierSeen(messages.identifierCount_ + std::size_t{1}, 0);
    std::vector<std::uint32_t> found;
    std::uint32_t peopleStart = 0;
    for (std::size_t i = 0; i < messages.records_.size(); ++i) {
        const auto& record = messages.records_[i];
        const auto firstPerson = messages.recordPeople_.begin() + peopleStart;
        const auto lastPerson = messages.recordPeople_.begin() + record.peopleEnd;
        peopleStart = record.peopleEnd;
        if (!isMailboxShown[record.mailbox] || record.date < start || (endDay && record.date >= end)) continue;
        if (!isSubjectWanted.empty() && !isSubjectWanted[record.subject]) continue;
        if (!isPersonWanted.empty() &&
            std::none_of(firstPerson, lastPerson, [&](auto number) { return isPersonWanted[number] != 0; }))
            continue;
        if (skipDuplicates && record.identifier != 0 && std::exchange(isIdentifierSeen[record.identifier], 1)) continue;
        found.push_back(static_cast<std::uint32_t>(i));
    }
    return found;
}

std::vector<const MessageSummary*> MessageFilter::apply(const std::vector<MessageSummary>& messages,
                                                        const Calendar& calendar) const {
    std::vector<const MessageSummary*> passing;
    for (const auto position : matches(SearchableMessages(messages), calendar)) passing.push_back(&messages[position]);
    return passing;
}

}   // namespace ostrel
