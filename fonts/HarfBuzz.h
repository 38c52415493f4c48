#pragma once

#include "platform/Releaser.h"

#include <memory>
#include <string_view>

#include <hb-subset.h>
#include <hb.h>

// Ownership of what HarfBuzz gives, for this folder's sources only: nothing here shows in a public header.
namespace ostrel::harfBuzz {

using BlobPtr = std::unique_ptr<hb_blob_t, Releaser<hb_blob_destroy>>;
using BufferPtr = std::unique_ptr<hb_buffer_t, Releaser<hb_buffer_destroy>>;
using DrawFuncsPtr = std::unique_ptr<hb_draw_funcs_t, Releaser<hb_draw_funcs_destroy>>;
using FacePtr = std::unique_ptr<hb_face_t, Releaser<hb_face_destroy>>;
using FontPtr = std::unique_ptr<hb_font_t, Releaser<hb_font_destroy>>;
using InputPtr = std::unique_ptr<hb_subset_input_t, Releaser<hb_subset_input_destroy>>;
using PlanPtr = std::unique_ptr<hb_subset_plan_t, Releaser<hb_subset_plan_destroy>>;

// The bytes must outlive the blob and what is made of it.
inline BlobPtr blobOf(std::string_view bytes) {
    return BlobPtr(
        hb_blob_create(bytes.data(), static_cast<unsigned>(bytes.size()), HB_MEMORY_MODE_READONLY, nullptr, nullptr));
}

inline std::string_view viewOf(hb_blob_t* blob) {
    unsigned size = 0;
    const char* bytes = hb_blob_get_data(blob, &size);
    return {bytes, size};
}

inline bool hasTable(hb_face_t* face, hb_tag_t tag) {
    const BlobPtr table(hb_face_reference_table(face, tag));
    return hb_blob_get_length(table.get()) > 0;
}

// A glyph's outline, by the name that the installed HarfBuzz has for it: 6 lacks the one, 7 warns of the other.
template <typename Font>
void drawGlyph(Font* font, hb_codepoint_t glyph, hb_draw_funcs_t* draw, void* data) {
    if constexpr (requires { hb_font_draw_glyph(font, glyph, draw, data); }) {
        hb_font_draw_glyph(font, glyph, draw, data);
    } else {
        hb_font_get_glyph_shape(font, glyph, draw, data);
    }
}

}   // namespace ostrel::harfBuzz
