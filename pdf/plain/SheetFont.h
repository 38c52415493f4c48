#pragma once

#include "fonts/HarfBuzz.h"
#include "pdf/fonts/FontSubsetter.h"
#include "pdf/fonts/GlyphUse.h"
#include "pdf/fonts/ToUnicode.h"

#include <memory>
#include <string_view>
#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// An installed TrueType font on its way into a file, of which its glyphs are the codes.
class SheetFont {
public:
    // nullptr for a font that a PDF cannot hold as it is: in a collection, with PostScript outlines, or variable.
    static std::unique_ptr<SheetFont> of(hb_face_t* face);

    // Returns how wide the file says that the glyph is, in thousandths of the font's size.
    int widthOf(hb_codepoint_t glyph);
    // Notes that the glyph is shown. Returns true if it reads as this text by itself, which the first text decides.
    bool show(hb_codepoint_t glyph, std::u16string_view text);
    // 0: it has none for the character.
    hb_codepoint_t glyphFor(char32_t character) const;

    // Adds the font with the glyphs shown. Throws Error where it cannot be cut.
    QPDFObjectHandle write(QPDF& file, FontSubsetter& subsetter) const;

private:
    explicit SheetFont(hb_face_t* face);
    QPDFObjectHandle descriptor(QPDF& file, FontSubsetter& subsetter, const std::string& name) const;
    QPDFObjectHandle widths() const;

    harfBuzz::FacePtr face_;
    harfBuzz::FontPtr font_;   // in units of the face
    unsigned unitsPerEm_ = 1000;
    std::vector<int> widths_;   // by glyph, -1: not asked yet
    CodeSet shown_;
    ToUnicode texts_{2, {}};
};

}   // namespace ostrel::pdf
