#include "render/pdf/PdfStreams.h"

#include <exception>

#include <qpdf/Buffer.hh>

namespace ostrel::pdf {

Packing packingOf(QPDFObjectHandle stream) {
    auto dict = stream.getDict();
    auto filter = dict.getKey("/Filter");
    if (filter.isNull()) return Packing::none;
    if (filter.isArray() && filter.getArrayNItems() == 1) filter = filter.getArrayItem(0);
    const bool isPlain = filter.isNameAndEquals("/FlateDecode") && dict.getKey("/DecodeParms").isNull();
    return isPlain ? Packing::zlib : Packing::other;
}

std::shared_ptr<Buffer> stored(QPDFObjectHandle stream) { return stream.getRawStreamData(); }

std::string_view viewOf(const Buffer& buffer) {
    return {reinterpret_cast<const char*>(buffer.getBuffer()), buffer.getSize()};
}

std::optional<std::string> decoded(QPDFObjectHandle stream, std::size_t expected) {
    try {
        const auto packing = packingOf(stream);
        if (packing == Packing::none) return std::string(viewOf(*stored(stream)));
        if (packing == Packing::zlib) {
            const auto raw = stored(stream);
            return zlib::inflate(viewOf(*raw), expected ? expected : raw->getSize() * 6, streamLimit);
        }
        const auto plain = stream.getStreamData(qpdf_dl_generalized);
        return std::string(viewOf(*plain));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

void repack(QPDFObjectHandle stream, std::string_view content, zlib::Effort effort) {
    auto packed = zlib::deflate(content, effort);
    const auto before = stored(stream)->getSize();
    if (packed.size() < before) replaceDeflated(stream, std::move(packed));
}

void replaceDeflated(QPDFObjectHandle stream, std::string packed, QPDFObjectHandle parameters) {
    stream.replaceStreamData(packed, QPDFObjectHandle::newName("/FlateDecode"), parameters);
}

}   // namespace ostrel::pdf
