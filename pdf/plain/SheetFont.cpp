#include "pdf/plain/SheetFont.h"

#include "pdf/Printed.h"
#include "pdf/content/Streams.h"
#include "platform/Translation.h"

#include <array>
#include <cmath>
#include <string>

#include <hb-ot.h>

namespace ostrel::pdf {
namespace {

using namespace harfBuzz;
using Object = QPDFObjectHandle;

// ISO 32000-1 §9.8.2: an average that only tells what to draw in place of a font that is missing, which it is not.
constexpr int stemWidth = 80;
constexpr int symbolic = 4;

bool isUsable(hb_face_t* face) {
    const BlobPtr blob(hb_face_reference_blob(face));
    return !viewOf(blob.get()).starts_with("ttcf") && hb_face_get_glyph_count(face) > 0 &&
           hasTable(face, HB_TAG('g', 'l', 'y', 'f')) && hasTable(face, HB_TAG('l', 'o', 'c', 'a')) &&
           !hasTable(face, HB_TAG('f', 'v', 'a', 'r'));
}

std::string postScriptName(hb_face_t* face) {
    std::array<char, 128> name{};
    unsigned size = name.size();
    hb_ot_name_get_utf8(face, HB_OT_NAME_ID_POSTSCRIPT_NAME, HB_LANGUAGE_INVALID, &size, name.data());
    std::string plain;
    for (const char c : std::string_view(name.data()))
        if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-') plain += c;
    return plain.empty() ? "Font" : plain;
}

}   // namespace

std::unique_ptr<SheetFont> SheetFont::of(hb_face_t* face) {
    return isUsable(face) ? std::unique_ptr<SheetFont>(new SheetFont(face)) : nullptr;
}

SheetFont::SheetFont(hb_face_t* face)
    : face_(hb_face_reference(face)), font_(hb_font_create(face)), unitsPerEm_(hb_face_get_upem(face)) {}

int SheetFont::widthOf(hb_codepoint_t glyph) {
    if (glyph >= widths_.size()) widths_.resize(glyph + 1, -1);
    int& width = widths_[glyph];
    if (width < 0) {
        const double advance = hb_font_get_glyph_h_advance(font_.get(), glyph);
        width = static_cast<int>(std::max(0.0, std::round(advance * 1000 / unitsPerEm_)));
    }
    return width;
}

bool SheetFont::show(hb_codepoint_t glyph, std::u16string_view text) {
    if (glyph >= shown_.size()) return false;
    shown_.set(glyph);
    if (!isText(text)) return false;
    const auto [place, isNew] = texts_.texts.try_emplace(static_cast<int>(glyph), text);
    return isNew || place->second == text;
}

hb_codepoint_t SheetFont::glyphFor(char32_t character) const {
    hb_codepoint_t glyph = 0;
    return hb_font_get_nominal_glyph(font_.get(), character, &glyph) ? glyph : 0;
}

Object SheetFont::write(QPDF& file, FontSubsetter& subsetter) const {
    const std::string name = '/' + postScriptName(face_.get());
    auto descendant = Object::parse(
        "<< /Type /Font /Subtype /CIDFontType2 /CIDToGIDMap /Identity /DW 0"
        " /CIDSystemInfo << /Registry (Adobe) /Ordering (Identity) /Supplement 0 >> >>");
    descendant.replaceKey("/BaseFont", Object::newName(name));
    descendant.replaceKey("/W", widths());
    descendant.replaceKey("/FontDescriptor", descriptor(file, subsetter, name));
    auto font = Object::parse("<< /Type /Font /Subtype /Type0 /Encoding /Identity-H >>");
    font.replaceKey("/BaseFont", Object::newName(name));
    font.replaceKey("/DescendantFonts", Object::newArray({file.makeIndirectObject(descendant)}));
    font.replaceKey("/ToUnicode", Object::newStream(&file, makeToUnicode(texts_)));
    return file.makeIndirectObject(font);
}

Object SheetFont::descriptor(QPDF& file, FontSubsetter& subsetter, const std::string& name) const {
    const BlobPtr blob(hb_face_reference_blob(face_.get()));
    auto program = subsetter.subset(viewOf(blob.get()), shown_);
    if (!program) throw Error(i18n::filled(i18n::tr("the font %@ cannot be used"), name.substr(1)));
    auto stream = Object::newStream(&file);
    replaceDeflated(stream, std::move(program->packed));
    stream.getDict().replaceKey("/Length1", Object::newInteger(static_cast<long long>(program->unpackedSize)));

    const auto inThousandths = [this](double units) {
        return Object::newInteger(std::lround(units * 1000 / unitsPerEm_));
    };
    hb_font_extents_t extents{};
    hb_font_get_h_extents(font_.get(), &extents);
    auto descriptor = Object::parse("<< /Type /FontDescriptor /ItalicAngle 0 >>");
    descriptor.replaceKey("/FontName", Object::newName(name));
    descriptor.replaceKey("/Flags", Object::newInteger(symbolic));
    descriptor.replaceKey("/StemV", Object::newInteger(stemWidth));
    descriptor.replaceKey("/Ascent", inThousandths(extents.ascender));
    descriptor.replaceKey("/Descent", inThousandths(extents.descender));
    descriptor.replaceKey("/CapHeight", inThousandths(extents.ascender));
    descriptor.replaceKey("/FontBBox", Object::newArray({Object::newInteger(0), inThousandths(extents.descender),
                                                         inThousandths(unitsPerEm_), inThousandths(extents.ascender)}));
    descriptor.replaceKey("/FontFile2", stream);
    return file.makeIndirectObject(descriptor);
}

Object SheetFont::widths() const {
    auto all = Object::newArray();
    for (std::size_t glyph = 0; glyph < widths_.size(); ++glyph) {
        if (widths_[glyph] < 0) continue;
        all.appendItem(Object::newInteger(static_cast<long long>(glyph)));
        all.appendItem(Object::newArray({Object::newInteger(widths_[glyph])}));
    }
    return all;
}

}   // namespace ostrel::pdf
