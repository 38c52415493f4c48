#include "fonts/TrueTypeGlyph.h"

#include "fuzz/Target.h"

#include <cstdint>

namespace ostrel::fuzz {
namespace {

// Takes an outline out of bytes: each step is a byte that says which, and its places.
class Steps {
public:
    explicit Steps(ByteView bytes) : bytes_(bytes) {}
    bool isAtEnd() const { return at_ >= bytes_.size(); }
    int byte() { return isAtEnd() ? 0 : std::to_integer<int>(bytes_[at_++]); }
    fonts::Place place() {
        const double x = number();
        return {x, number()};
    }

private:
    // Mostly what fonts have, now and then anything.
    double number() {
        const int high = byte(), low = byte();
        const double whole = static_cast<std::int16_t>(high << 8 | low);
        return low == 0xFF ? whole * 1e300 : low % 7 == 0 ? whole / 3 : whole / 8;
    }
    ByteView bytes_;
    std::size_t at_ = 0;
};

int number16(std::string_view bytes, std::size_t at) {
    return static_cast<std::int16_t>(static_cast<unsigned char>(bytes[at]) << 8 |
                                     static_cast<unsigned char>(bytes[at + 1]));
}

}   // namespace

void run(ByteView input) {
    Steps steps(input);
    fonts::TrueTypeGlyph glyph(1 + steps.byte() % 4);
    while (!steps.isAtEnd()) {
        switch (steps.byte() % 5) {
            case 0:
                glyph.moveTo(steps.place());
                break;
            case 1:
                glyph.lineTo(steps.place());
                break;
            case 2:
            case 3: {
                const auto control1 = steps.place(), control2 = steps.place();
                glyph.curveTo(control1, control2, steps.place());
                break;
            }
            default:
                glyph.close();
        }
    }
    holds(glyph.pointCount() <= 16 * input.size(), "points come from the outline");
    const std::size_t contours = glyph.contourCount();
    const auto entry = glyph.entry();
    if (!entry) return;
    holds(entry->empty() == (contours == 0), "only a glyph without contours is empty");
    if (entry->empty()) return;
    holds(entry->size() % 2 == 0, "entries begin at even offsets");
    holds(number16(*entry, 0) == static_cast<int>(contours), "an entry has the contours that were closed");
    holds(number16(*entry, 2) == glyph.left(), "its box begins where the glyph says");
    holds(number16(*entry, 2) <= number16(*entry, 6) && number16(*entry, 4) <= number16(*entry, 8), "a box is one");
    int last = -1;
    for (std::size_t i = 0; i < contours; ++i) {
        const int end = static_cast<std::uint16_t>(number16(*entry, 10 + 2 * i));
        holds(end >= last + 3, "a contour has three points");
        last = end;
    }
    holds(last + 1 == static_cast<int>(glyph.pointCount()), "an entry has the glyph's points");
}

std::vector<std::string> seeds() {
    using namespace std::string_literals;
    return {"\0\0\x01\x01\x01\x01\x01\x10\x01\x01\x01\x01\x10\x01\x10\x01\x04"s,
            "\0\0\x01\x01\x01\x01\x02\x10\x01\x01\x01\x10\x01\x08\x08\x20\x11\x01\x01\x01\x01\x10\x01\x10\x01\x04\0"s};
}

}   // namespace ostrel::fuzz
