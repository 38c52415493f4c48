#pragma once

#include "pictures/Decoder.h"
#include "pictures/headers/JPEGHeader.h"
#include "pictures/headers/PNGHeader.h"
#include "pictures/headers/Size.h"
#include "platform/Bytes.h"

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <variant>

class QPDF;
class QPDFObjectHandle;

namespace ostrel::pdf {

class LateData;

// A picture that a PDF shows as the engine would, and holds without decoding it: JPEGs as they are, PNGs without alpha
// by their packed rows. The others are such once Decoder has made them so.
class Original {
public:
    // nullopt: it has to be decoded, or is damaged in a way that its header, its end or the number of its rows shows.
    // The bytes must outlive it, and the files that show it.
    static std::optional<Original> of(ByteView picture);
    // With its mask. nullopt: it is none that a PDF holds.
    static std::optional<Original> of(pictures::Decoded picture);

    pictures::Size naturalSize() const;   // upright
    // From the unit square, in which PDFs draw a picture (ISO 32000-1 §8.9.5), to a box of this size with its origin at
    // the upper left and y downwards, upright.
    std::array<double, 6> placement() const;

    // A new object of the file. The picture comes in when that is written: this must live as long.
    QPDFObjectHandle imageIn(QPDF& file, LateData& late) const;

private:
    using Header = std::variant<pictures::JPEGHeader, pictures::PNGHeader>;
    struct Picture {
        ByteView bytes;
        Header header;
        std::string profile;   // ICC, to be kept; empty: sRGB
    };
    explicit Original(Picture picture) : picture_(std::move(picture)) {}
    enum class Maker { sender, decoder };   // what it makes has all its rows
    static std::optional<Picture> read(ByteView bytes, Maker maker);

    std::shared_ptr<const pictures::Decoded> decoded_;   // whose bytes the pictures are; null: the caller's
    Picture picture_;
    std::optional<Picture> mask_;
};

}   // namespace ostrel::pdf
