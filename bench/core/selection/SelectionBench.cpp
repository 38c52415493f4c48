#include "core/message/MailMessage.h"
#include "core/selection/MessageFilter.h"
#include "core/selection/Threads.h"
#include "platform/Text.h"

#include <array>
#include <chrono>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <benchmark/benchmark.h>

// What a keystroke in the filter bar costs with a large store, and grouping it into conversations.
namespace ostrel {
namespace {

constexpr int messageCount = 300'000;

// A store with the proportions of a real one: few people write much, many once; half of the subjects are answers.
const std::vector<MessageSummary>& store() {
    static const auto messages = [] {
        constexpr std::array words = {"invoice", "meeting",  "kitchen", "Re:",    "offer", "Ångström",
                                      "report",  "weekly",   "Küche",   "travel", "your",  "order",
                                      "shipped", "question", "about",   "the",    "new",   "photos"};
        std::mt19937 random(3);
        std::vector<MailAddress> people;
        for (int i = 0; i < 60'000; ++i) {
            const auto number = std::to_string(i);
            people.push_back(
                {"Kim Müller " + number, "kim.lee" + number + "@mail" + std::to_string(i % 900) + ".example.org"});
        }
        const auto someone = [&] { return people[random() % 4 ? random() % 800 : random() % people.size()]; };
        std::vector<MessageSummary> made(messageCount);
        for (int i = 0; i < messageCount; ++i) {
            auto& message = made[static_cast<std::size_t>(i)];
            message.url = "/home/kim/Library/Mail/V10/account/INBOX.mbox/Data/Messages/" + std::to_string(i) + ".emlx";
            message.mailboxID = "account/" + std::to_string(random() % 40) + ".mbox";
            message.from = std::vector{someone()};
            message.to = std::vector{people[0], someone()};
            if (random() % 3 == 0) message.cc = std::vector{someone(), someone()};
            for (auto count = 3 + random() % 5; count > 0; --count)
                message.subject += std::string(words[random() % words.size()]) + " ";
            message.subject += std::to_string(random() % 200'000);
            message.date = Instant{std::chrono::seconds(1'700'000'000 - i * 700)};
            message.messageID = std::to_string(i - (random() % 20 == 0)) + "@mail.example.org";
            if (random() % 2)
                message.references = std::vector{std::to_string(random() % messageCount) + "@mail.example.org"};
        }
        return made;
    }();
    return messages;
}

// What one keystroke costs once the list is prepared.
void keystroke(benchmark::State& state, const MessageFilter& filter) {
    const SearchableMessages prepared(store());
    const auto calendar = Calendar::utc();
    std::size_t found = 0;
    for (auto _ : state) found = filter.matches(prepared, calendar).size();
    state.counters["found"] = static_cast<double>(found);
}

void prepare(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(SearchableMessages(store()));
}

// The plainest search: all subjects or people in one text, one line per message, case folded; how many lines hold the
// word.
void lineSearch(benchmark::State& state, const MessageFilter& filter) {
    std::string lines;
    for (const MessageSummary& message : store()) {
        if (filter.person.empty()) {
            lines += text::foldForSearch(message.subject);
        } else {
            for (const auto* people : {&message.from, &message.to, &message.cc})
                lines += text::foldForSearch(MailMessage::line(*people)) + ' ';
        }
        lines += '\n';
    }
    const std::string word = text::foldForSearch(filter.person + filter.subject);
    std::size_t found = 0;
    for (auto _ : state) {
        found = 0;
        const char* const end = lines.data() + lines.size();
        for (const char* at = lines.data();;) {
            at = static_cast<const char*>(::memmem(at, end - at, word.data(), word.size()));
            if (at == nullptr) break;
            ++found;
            at = static_cast<const char*>(std::memchr(at, '\n', end - at)) + 1;
        }
        benchmark::DoNotOptimize(found);
    }
    state.counters["found"] = static_cast<double>(found);
}

void conversations(benchmark::State& state) {
    std::vector<const MessageSummary*> list;
    for (const MessageSummary& message : store()) list.push_back(&message);
    for (auto _ : state) benchmark::DoNotOptimize(Threads::assign(list));
}

// Every identifier into one hash table: what finding the conversations cannot do without.
void identifierTable(benchmark::State& state) {
    for (auto _ : state) {
        std::unordered_map<std::string_view, std::size_t> table;
        for (const MessageSummary& message : store()) {
            if (message.messageID) table.try_emplace(*message.messageID, table.size());
            for (const auto reference : message.references.texts()) table.try_emplace(reference, table.size());
        }
        benchmark::DoNotOptimize(table);
    }
}

struct Keystroke {
    const char* name;
    MessageFilter filter;
    bool hasPeer = false;   // where a search for one word says the same
};

const bool registered = [] {
    const auto add = [](const std::string& name, auto function, auto... arguments) {
        benchmark::RegisterBenchmark(name.c_str(), function, arguments...)->Unit(benchmark::kMillisecond);
    };
    const Keystroke keystrokes[] = {
        {"nothing typed", {}},
        {"person, one letter", {.person = "k"}, true},
        {"person, two letters", {.person = "49"}, true},
        {"person, a name", {.person = "muller 4217"}, true},
        {"subject, one letter", {.subject = "e"}, true},
        {"subject, two letters", {.subject = "ku"}, true},
        {"subject, three words", {.subject = "offer the kuch"}},
        {"subject, nothing found", {.subject = "zzz"}, true},
        {"days, person and subject",
         {.startDay = Day{2019, 1, 1}, .endDay = Day{2023, 6, 30}, .person = "kim", .subject = "re"}},
    };
    for (const Keystroke& typed : keystrokes) {
        const std::string name = "filter/" + std::string(typed.name);
        add(name + "/ostrel", keystroke, typed.filter);
        if (typed.hasPeer) add(name + "/memmem", lineSearch, typed.filter);
    }
    add("filter/prepare the list/ostrel", prepare);
    add("threads/conversations/ostrel", conversations);
    add("threads/conversations/table", identifierTable);
    return true;
}();

}   // namespace
}   // namespace ostrel
