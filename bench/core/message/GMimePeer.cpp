// The same messages through GMime: parse, decode every text to UTF-8 and every attachment to bytes, read subject,
// addresses and date.

#include "bench/core/message/ParseInputs.h"

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

std::size_t readWithGMime(const Bytes& message) {
    GMimeStream* stream = g_mime_stream_mem_new_with_buffer(message.chars().data(), message.size());
    GMimeParser* parser = g_mime_parser_new_with_stream(stream);
    std::size_t size = 0;
    if (GMimeMessage* parsed = g_mime_parser_construct_message(parser, nullptr)) {
        benchmark::DoNotOptimize(g_mime_message_get_subject(parsed));
        for (InternetAddressList* list : {g_mime_message_get_from(parsed), g_mime_message_get_to(parsed),
                                          g_mime_message_get_cc(parsed), g_mime_message_get_reply_to(parsed)})
            benchmark::DoNotOptimize(internet_address_list_length(list));
        benchmark::DoNotOptimize(g_mime_message_get_date(parsed));
        benchmark::DoNotOptimize(g_mime_message_get_message_id(parsed));
        g_mime_message_foreach(parsed, decodePart, &size);
        g_object_unref(parsed);
    }
    g_object_unref(parser);
    g_object_unref(stream);
    return size;
}

void gmime(benchmark::State& state, const bench::ParseInput& input) {
    g_mime_init();
    const std::vector<Bytes> messages = input.messages();
    for (auto _ : state) {
        for (const Bytes& message : messages) benchmark::DoNotOptimize(readWithGMime(message));
    }
    state.SetBytesProcessed(state.iterations() * bench::totalSize(messages));
}

const bool registered = [] {
    for (const bench::ParseInput& input : bench::parseInputs)
        benchmark::RegisterBenchmark(("parse/" + std::string(input.name) + "/gmime").c_str(), gmime, input);
    return true;
}();

}   // namespace
