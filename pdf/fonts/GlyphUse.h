#pragma once

#include <bitset>
#include <map>
#include <string_view>
#include <vector>

#include <qpdf/QPDFObjectHandle.hh>

namespace ostrel::pdf {

// Character codes; of composite fonts they have two bytes and, for those of interest, are glyph numbers.
using CodeSet = std::bitset<0x10000>;

// Learns from content which codes are shown in which font. What it cannot follow makes it say so, never guess.
class GlyphUse {
public:
    // resources: what the content's names are looked up in, or null. Linear in the content.
    void read(std::string_view content, QPDFObjectHandle resources);

    // False when text may have been shown in a font that could not be told: then no font may lose a glyph.
    bool isComplete() const { return complete_; }

    // Composite and Type 3 fonts by object, with the codes shown. A font that was set but showed nothing has an empty
    // set.
    const std::map<QPDFObjGen, CodeSet>& codesOf() const { return codes_; }

    // Content shows the codes of one font in another now.
    void replace(QPDFObjGen gone, QPDFObjGen font, const CodeSet& codes);

    // What Type 3 fonts showed, one after the other as the content was read.
    struct Drawn {
        QPDFObjGen font;
        int code = 0;
    };
    const std::vector<Drawn>& drawn() const { return drawn_; }

private:
    std::map<QPDFObjGen, CodeSet> codes_;
    std::vector<Drawn> drawn_;
    bool complete_ = true;
};

}   // namespace ostrel::pdf
