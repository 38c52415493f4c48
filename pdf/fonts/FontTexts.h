#pragma once

#include "pdf/content/Streams.h"
#include "pdf/fonts/GlyphUse.h"
#include "pdf/fonts/ToUnicode.h"

#include <map>
#include <optional>
#include <vector>

#include <qpdf/QPDF.hh>

namespace ostrel::pdf {

// What the glyphs of a file's fonts mean: each ToUnicode table read once and, if it was changed, written once.
class FontTexts {
public:
    explicit FontTexts(QPDF& file) : file_(file) {}

    // Null if the font has no table, or none that is understood. Valid until that table is replaced.
    const ToUnicode* of(QPDFObjectHandle font);

    // Gives the fonts one new table.
    void replace(const std::vector<QPDFObjectHandle>& fonts, ToUnicode map);

    // Adds texts for codes of the font that have none yet.
    void add(QPDFObjectHandle font, const CodeTexts& more);

    // Gives each code that is shown and still has no text the character for unknown ones, U+FFFD. Returns their number.
    std::size_t fillIn(const GlyphUse& use);

    // Makes every font say what its glyphs mean in the characters that people type (see asTyped), so that a search
    // finds them. Tables that are not understood stay as they are.
    void makeTyped();

    // Gives fonts that agree about what the codes they show mean, or have none in common, one table for all.
    void share(const GlyphUse& use);

    // Writes what was changed into the file.
    ByteChange store();

private:
    struct Table {
        QPDFObjectHandle stream;
        std::optional<ToUnicode> map;   // nullopt: not understood
        bool isChanged = false;
    };
    Table* tableOf(QPDFObjectHandle font);

    QPDF& file_;
    std::map<QPDFObjGen, Table> tables_;   // by stream
};

}   // namespace ostrel::pdf
