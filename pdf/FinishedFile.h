#pragma once

#include "platform/Bytes.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class QPDF;
class QPDFWriter;

namespace ostrel::pdf {

class LateData;

// A PDF as it is to be stored: what was made for it, and between that the pictures that it shows as they came, which
// belong to others and must live as long.
class FinishedFile {
public:
    FinishedFile() = default;

    // Writes the open file, which must not change any more. Throws what libqpdf throws.
    static FinishedFile of(QPDF& file, LateData& late);

    std::size_t size() const { return size_; }
    std::vector<ByteView> pieces() const;   // one after the other
    std::string whole() const;              // all of them, copied

private:
    void join(std::string_view text, QPDFWriter& writer, const LateData& late);
    void append(std::string_view bytes);
    void refer(ByteView bytes);

    struct Foreign {
        std::size_t before;   // this byte of made_
        ByteView bytes;
    };
    std::string made_;
    std::vector<Foreign> foreign_;
    std::size_t size_ = 0;
};

}   // namespace ostrel::pdf
