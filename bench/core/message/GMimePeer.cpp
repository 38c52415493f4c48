// The same messages through GMime: parse, decode every text to UTF-8 and every attachment to bytes, read subject,
// addresses and date.

#include "bench/core/message/SampleMessages.h"

#include <benchmark/benchmark.h>
#include <gmime/gmime.h>

namespace {

using namespace ostrel;

void decodePart(GMimeObject*, GMimeObject* object, void* total) {
    auto& size = *static_cast<std::size_t*>(total);
    if (GMIME_IS_TEXT_PART(object)) {
        char* text = g_mime_text_part_get_text(GMIME_TEXT_PART(object));
        size += text ? std::char_traits<char>::length(text) : 0;
        g_free(text);
    } else if (GMIME_IS_PART(object)) {
        GMimeStream* memory = g_mime_stream_mem_new();
        if (GMimeDataWrapper* content = g_mime_part_get_content(GMIME_PART(object))) {
            g_mime_data_wrapper_write_to_stream(content, memory);
        }
        size += g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(memory))->len;
        g_object_unref(memory);
        benchmark::DoNotOptimize(g_mime_part_get_filename(GMIME_PART(object)));
    }
}

void gmime(benchmark::State& state, const std::string& message) {
    g_mime_init();
    for (auto _ : state) {
        GMimeStream* stream = g_mime_stream_mem_new_with_buffer(message.data(), message.size());
        GMimeParser* parser = g_mime_parser_new_with_stream(stream);
        GMimeMessage* parsed = g_mime_parser_construct_message(parser, nullptr);
        benchmark::DoNotOptimize(g_mime_message_get_subject(parsed));
        benchmark::DoNotOptimize(internet_address_list_length(g_mime_message_get_from(parsed)));
        benchmark::DoNotOptimize(internet_address_list_length(g_mime_message_get_to(parsed)));
        benchmark::DoNotOptimize(g_mime_message_get_date(parsed));
        std::size_t size = 0;
        g_mime_message_foreach(parsed, decodePart, &size);
        benchmark::DoNotOptimize(size);
        g_object_unref(parsed);
        g_object_unref(parser);
        g_object_unref(stream);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * message.size()));
}
BENCHMARK_CAPTURE(gmime, shortText, bench::shortText());
BENCHMARK_CAPTURE(gmime, newsletter, bench::newsletter());
BENCHMARK_CAPTURE(gmime, attachment5MB, bench::withAttachment(5 << 20));
BENCHMARK_CAPTURE(gmime, parts10000, bench::manyParts(10'000));

}   // namespace
