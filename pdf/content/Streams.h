#pragma once

#include "pdf/content/Deflate.h"

#include <optional>
#include <string>
#include <string_view>

#include <qpdf/QPDFObjectHandle.hh>

// Streams of a PDF read and replaced whole.
namespace ostrel::pdf {

// Bytes of the streams that something replaced, stored in the file before and after.
struct ByteChange {
    std::size_t before = 0, after = 0;
};

// Content and pictures that inflate beyond this stay as they are; the engine writes nothing near it.
inline constexpr std::size_t streamLimit = std::size_t{512} << 20;

// How a stream's bytes are packed: not at all, as a zlib stream without a predictor, or in a way left to libqpdf.
enum class Packing { none, zlib, other };
Packing packingOf(QPDFObjectHandle stream);

// Returns the stream's bytes with its filters undone; nullopt if a filter is not understood or its data are damaged.
// expected: their number, which saves time when it is right.
std::optional<std::string> decoded(QPDFObjectHandle stream, std::size_t expected = 0);

// Gives the stream this content, which must mean the same as its own. Leaves the stream as it is if that is shorter.
void repack(QPDFObjectHandle stream, std::string_view content, zlib::Effort effort);

// Replaces the stream's data with a zlib stream made by deflate(); parameters: its DecodeParms or null.
void replaceDeflated(QPDFObjectHandle stream, std::string packed,
                     QPDFObjectHandle parameters = QPDFObjectHandle::newNull());

// The stream's bytes with its filters still on, and their number as the stream tells it. Reading throws
// std::runtime_error where the file is damaged.
std::string stored(QPDFObjectHandle stream);
std::size_t storedSize(QPDFObjectHandle stream);

}   // namespace ostrel::pdf
