#include "pdf/fonts/GlyphFont.h"

#include "pdf/content/Streams.h"

namespace ostrel::pdf {

using namespace harfBuzz;

FontPtr glyphFont(QPDFObjectHandle font) {
    if (!font.isDictionary() || !font.getKey("/Encoding").isNameAndEquals("/Identity-H")) return nullptr;
    auto descendants = font.getKey("/DescendantFonts");
    if (!descendants.isArray() || descendants.getArrayNItems() != 1) return nullptr;
    auto descendant = descendants.getArrayItem(0);
    if (!descendant.isDictionary() || !descendant.getKey("/CIDToGIDMap").isNameAndEquals("/Identity")) return nullptr;
    auto descriptor = descendant.getKey("/FontDescriptor");
    auto program = descriptor.isDictionary() ? descriptor.getKey("/FontFile2") : QPDFObjectHandle::newNull();
    const auto bytes = program.isStream() ? decoded(program) : std::nullopt;
    if (!bytes) return nullptr;
    const BlobPtr copy(hb_blob_create(bytes->data(), static_cast<unsigned>(bytes->size()), HB_MEMORY_MODE_DUPLICATE,
                                      nullptr, nullptr));
    const FacePtr face(hb_face_create(copy.get(), 0));
    return FontPtr(hb_font_create(face.get()));
}

}   // namespace ostrel::pdf
