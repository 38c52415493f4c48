#pragma once

#include "platform/Bytes.h"

#include <cstddef>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include <qpdf/QPDFObjectHandle.hh>

namespace ostrel::pdf {

// Data of streams that come in only when the file is written (FinishedFile.h), because libqpdf would copy each
// photograph four times. Until then a mark is all that their streams hold, the same for the same data.
class LateData {
public:
    // Gives the stream these pieces, one after the other. They must live as long as the finished file.
    void give(QPDFObjectHandle stream, std::vector<ByteView> pieces, QPDFObjectHandle filter,
              QPDFObjectHandle parameters);

    struct Entry {
        QPDFObjectHandle stream;
        std::string mark;
        std::vector<ByteView> pieces;
        std::size_t size = 0;   // of all pieces
    };
    std::span<const Entry> all() const { return entries_; }

    // Puts the data in as they are, copied.
    void settle();

private:
    std::vector<Entry> entries_;
    std::unordered_multimap<std::size_t, std::size_t> byHash_;   // index of the first with these data
};

}   // namespace ostrel::pdf
