#include "pdf/content/Streams.h"

#include <algorithm>
#include <stdexcept>

#include <qpdf/Buffer.hh>
#include <qpdf/Pl_String.hh>

namespace ostrel::pdf {

Packing packingOf(QPDFObjectHandle stream) {
    auto dict = stream.getDict();
    auto filter = dict.getKey("/Filter");
    if (filter.isNull()) return Packing::none;
    if (filter.isArray() && filter.getArrayNItems() == 1) filter = filter.getArrayItem(0);
    const bool isPlain = filter.isNameAndEquals("/FlateDecode") && dict.getKey("/DecodeParms").isNull();
    return isPlain ? Packing::zlib : Packing::other;
}

std::size_t storedSize(QPDFObjectHandle stream) {
    auto length = stream.getDict().getKey("/Length");
    return length.isInteger() && length.getIntValue() > 0 ? static_cast<std::size_t>(length.getIntValue()) : 0;
}

// Into one buffer of the right size: libqpdf's own would copy it twice more, which takes a while for a photograph.
std::string stored(QPDFObjectHandle stream) {
    std::string bytes;
    bytes.reserve(std::min(storedSize(stream), streamLimit));
    Pl_String pipe("stored", nullptr, bytes);
    bool isFiltered = false;
    if (!stream.pipeStreamData(&pipe, &isFiltered, 0, qpdf_dl_none))
        throw std::runtime_error("a stream cannot be read");
    return bytes;
}

std::optional<std::string> decoded(QPDFObjectHandle stream, std::size_t expected) {
    try {
        const auto packing = packingOf(stream);
        if (packing == Packing::none) return stored(stream);
        if (packing == Packing::zlib) {
            const auto raw = stored(stream);
            return zlib::inflate(raw, expected ? expected : raw.size() * 6, streamLimit);
        }
        const auto plain = stream.getStreamData(qpdf_dl_generalized);
        return std::string(reinterpret_cast<const char*>(plain->getBuffer()), plain->getSize());
    } catch (const std::runtime_error&) {   // not: out of memory
        return std::nullopt;
    } catch (const std::logic_error&) {
        return std::nullopt;
    }
}

void repack(QPDFObjectHandle stream, std::string_view content, zlib::Effort effort) {
    auto packed = zlib::deflate(content, effort);
    if (packed.size() < storedSize(stream)) replaceDeflated(stream, std::move(packed));
}

void replaceDeflated(QPDFObjectHandle stream, std::string packed, QPDFObjectHandle parameters) {
    stream.replaceStreamData(packed, QPDFObjectHandle::newName("/FlateDecode"), parameters);
}

}   // namespace ostrel::pdf
