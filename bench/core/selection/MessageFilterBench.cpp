#include "core/selection/MessageFilter.h"
#include "core/selection/Threads.h"

#include <array>
#include <chrono>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

// What a keystroke in the filter bar costs with a large store.
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
            message.from = {someone()};
            message.to = {people[0], someone()};
            if (random() % 3 == 0) message.cc = {someone(), someone()};
            for (auto count = 3 + random() % 5; count > 0; --count)
                message.subject += std::string(words[random() % words.size()]) + " ";
            message.subject += std::to_string(random() % 200'000);
            message.date = Instant{std::chrono::seconds(1'700'000'000 - i * 700)};
            message.messageID = std::to_string(i - (random() % 20 == 0)) + "@mail.example.org";
            if (random() % 2) message.references = {std::to_string(random() % messageCount) + "@mail.example.org"};
        }
        return made;
    }();
    return messages;
}

void keystroke(benchmark::State& state, const MessageFilter& filter) {
    const SearchableMessages prepared(store());
    const auto calendar = Calendar::utc();
    std::size_t found = 0;
    for (auto _ : state) {
        const auto positions = filter.matches(prepared, calendar);
        benchmark::DoNotOptimize(found = positions.size());
    }
    state.counters["found"] = static_cast<double>(found);
}

void prepare(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(SearchableMessages(store()));
}

void conversations(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(Threads::assign(store()));
}

BENCHMARK_CAPTURE(keystroke, nothingTyped, MessageFilter{})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(keystroke, personOneLetter, MessageFilter{.person = "k"})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(keystroke, personTwoLetters, MessageFilter{.person = "49"})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(keystroke, personName, MessageFilter{.person = "muller 4217"})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(keystroke, subjectOneLetter, MessageFilter{.subject = "e"})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(keystroke, subjectTwoLetters, MessageFilter{.subject = "ku"})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(keystroke, subjectThreeWords, MessageFilter{.subject = "offer the kuch"})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(keystroke, subjectNotThere, MessageFilter{.subject = "zzz"})->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(keystroke, everything,
                  MessageFilter{
                      .startDay = Day{2019, 1, 1}, .endDay = Day{2023, 6, 30}, .person = "kim", .subject = "re"})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(prepare)->Unit(benchmark::kMillisecond);
BENCHMARK(conversations)->Unit(benchmark::kMillisecond);

}   // namespace
}   // namespace ostrel
