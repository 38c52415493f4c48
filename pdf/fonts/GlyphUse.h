#pragma once

#include <bitset>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <qpdf/QPDFObjectHandle.hh>

namespace ostrel::pdf {

class Contents;

// Character codes; of composite fonts they have two bytes and, for those of interest, are glyph numbers.
using CodeSet = std::bitset<0x10000>;

// Which codes content shows in which font. Where it cannot be followed this says so and never guesses.
class GlyphUse {
public:
    // Nothing was read, or not all of it: no font may lose a glyph.
    static GlyphUse unknown(std::string why);
    static GlyphUse of(Contents& contents);

    // Adds what one content shows. resources: what its names stand for, or null. Linear in the content.
    void read(std::string_view content, QPDFObjectHandle resources);

    // False if text may be shown in a font that could not be told; then whyIncomplete() is not empty.
    bool isComplete() const { return problem_.empty(); }
    const std::string& whyIncomplete() const { return problem_; }

    // Composite and Type 3 fonts by object, with the codes shown. A font that was set but showed nothing has an empty
    // set.
    const std::map<QPDFObjGen, CodeSet>& codesOf() const { return codes_; }

    // To be called when content shows the codes of one font in another.
    void replace(QPDFObjGen gone, QPDFObjGen font, const CodeSet& codes);

    // What Type 3 fonts show, in the order of the content.
    struct Drawn {
        QPDFObjGen font;
        int code = 0;
    };
    const std::vector<Drawn>& drawn() const { return drawn_; }

private:
    std::map<QPDFObjGen, CodeSet> codes_;
    std::vector<Drawn> drawn_;
    std::string problem_;
};

}   // namespace ostrel::pdf
