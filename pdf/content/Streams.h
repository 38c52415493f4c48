#pragma once

#include "pdf/content/Deflate.h"

#include <optional>
#include <string>
#include <string_view>

#include <qpdf/QPDFObjectHandle.hh>

// Streams of a PDF read and replaced whole.
namespace ostrel::pdf {

// Content and pictures that inflate beyond this stay as they are; the engine writes nothing near it.
inline constexpr std::size_t streamLimit = std::size_t{512} << 20;

// How a stream's bytes are packed: not at all, as a zlib stream without a predictor, or in a way that only libqpdf
// reads.
enum class Packing { none, zlib, other };
Packing packingOf(QPDFObjectHandle stream);

// The stream's bytes with its filters undone. Nothing when a filter is not understood or its data are damaged.
std::optional<std::string> decoded(QPDFObjectHandle stream, std::size_t expected = 0);

// Gives the stream this content, which must say the same as its own. Kept as it was when that is shorter.
void repack(QPDFObjectHandle stream, std::string_view content, zlib::Effort effort);

// Replaces the stream's data with a finished zlib stream; parameters may be null.
void replaceDeflated(QPDFObjectHandle stream, std::string packed,
                     QPDFObjectHandle parameters = QPDFObjectHandle::newNull());

// The stream's bytes with its filters still on, and how many it says that they are. Reading throws std::runtime_error
// where the file is damaged.
std::string stored(QPDFObjectHandle stream);
std::size_t storedSize(QPDFObjectHandle stream);

}   // namespace ostrel::pdf
