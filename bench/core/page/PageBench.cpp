// From a message's HTML to the safe fragment and from the message to its page. The peer is the same sanitiser written
// as plain regular expressions for PCRE2, which the tests hold ours against.

#include "bench/Inputs.h"
#include "core/page/MessageHTML.h"
#include "tests/core/page/RegexPipeline.h"

#include <benchmark/benchmark.h>

namespace ostrel {
namespace {

const std::vector<MailMessage>& htmlMessages() {
    static const auto messages = [] {
        std::vector<MailMessage> found;
        for (const Bytes& stored : bench::storedMessages()) {
            MailMessage message = MailMessage::make(MIMEPart::parse(stored), false, {});
            if (message.htmlBody) found.push_back(std::move(message));
        }
        return found;
    }();
    return messages;
}

template <typename Work>
void overMessages(benchmark::State& state, Work work) {
    std::size_t size = 0;
    for (const MailMessage& message : htmlMessages()) size += message.htmlBody->size();
    for (auto _ : state) {
        for (const MailMessage& message : htmlMessages()) benchmark::DoNotOptimize(work(message));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
}

// Both without the messages' own images, which the regular expressions only know one of.
void sanitise(benchmark::State& state) {
    overMessages(state, [](const MailMessage& message) { return MessageHTML::sanitize(*message.htmlBody, {}); });
}

void sanitiseWithRegex(benchmark::State& state) {
    overMessages(state, [](const MailMessage& message) { return regexPipeline::sanitize(*message.htmlBody, {}); });
}

void page(benchmark::State& state) {
    overMessages(state, [](const MailMessage& message) {
        return MessageHTML::page(message, "Inbox", "5 March 2024", std::nullopt, PageLabels{});
    });
}

BENCHMARK(sanitise)->Name("page/sanitise/ostrel");
BENCHMARK(sanitiseWithRegex)->Name("page/sanitise/regex");
BENCHMARK(page)->Name("page/whole page/ostrel");

}   // namespace
}   // namespace ostrel
