#include "pdf/content/Contents.h"

#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>

namespace ostrel::pdf {
namespace {

bool isFormOrTiling(QPDFObjectHandle dict) {
    auto patternType = dict.getKey("/PatternType");
    return dict.getKey("/Subtype").isNameAndEquals("/Form") ||
           (patternType.isInteger() && patternType.getIntValue() == 1);
}

void addGlyphs(QPDFObjectHandle font, std::vector<Content>& found) {
    auto glyphs = font.getKey("/CharProcs");
    if (!glyphs.isDictionary()) return;
    const auto resources = font.getKey("/Resources");
    for (const auto& name : glyphs.getKeys())
        if (auto glyph = glyphs.getKey(name); glyph.isStream()) found.push_back({glyph, resources});
}

}   // namespace

std::vector<Content> contentsOf(QPDF& file) {
    std::vector<Content> found;
    for (auto& page : QPDFPageDocumentHelper(file).getAllPages()) {
        auto dict = page.getObjectHandle();
        if (dict.getKey("/Contents").isArray()) page.coalesceContentStreams();
        if (auto content = dict.getKey("/Contents"); content.isStream())
            found.push_back({content, page.getAttribute("/Resources", false)});
    }
    for (auto object : file.getAllObjects()) {
        if (object.isStream()) {
            if (auto dict = object.getDict(); isFormOrTiling(dict))
                found.push_back({object, dict.getKey("/Resources")});
        } else if (object.isDictionary() && object.getKey("/Subtype").isNameAndEquals("/Type3")) {
            addGlyphs(object, found);
        }
    }
    return found;
}

}   // namespace ostrel::pdf
