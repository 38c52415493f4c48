#include "pdf/fonts/FontSubsetter.h"

#include "fonts/HarfBuzz.h"
#include "pdf/content/Deflate.h"

#include <algorithm>
#include <array>
#include <limits>

#include <hb-ot.h>

namespace ostrel::pdf {
namespace {

constexpr std::size_t fontLimit = std::size_t{64} << 20;     // the largest CJK fonts take a third of it
constexpr std::size_t memoryLimit = std::size_t{24} << 20;   // what a score of mails has in common

using namespace harfBuzz;

// What a PDF viewer reads of a TrueType font whose glyphs it picks by number.
constexpr std::array neededTables{HB_TAG('g', 'l', 'y', 'f'), HB_TAG('h', 'e', 'a', 'd'), HB_TAG('h', 'h', 'e', 'a'),
                                  HB_TAG('h', 'm', 't', 'x'), HB_TAG('l', 'o', 'c', 'a'), HB_TAG('m', 'a', 'x', 'p')};

bool isPlainTrueType(hb_face_t* face) {
    return hb_face_get_glyph_count(face) > 0 &&
           std::ranges::all_of(neededTables, [&](hb_tag_t tag) { return hasTable(face, tag); }) &&
           !hasTable(face, HB_TAG('f', 'v', 'a', 'r'));   // the engine may have chosen an instance we cannot see
}

void dropOtherTables(hb_face_t* face, hb_subset_input_t* input) {
    std::array<hb_tag_t, 64> tags;
    auto* const dropped = hb_subset_input_set(input, HB_SUBSET_SETS_DROP_TABLE_TAG);
    constexpr unsigned room = tags.size();
    for (unsigned start = 0;; start += room) {
        unsigned count = room;
        hb_face_get_table_tags(face, start, &count, tags.data());
        for (unsigned i = 0; i < count; ++i)
            if (std::ranges::find(neededTables, tags[i]) == neededTables.end()) hb_set_add(dropped, tags[i]);
        if (count < room) return;
    }
}

// A font that one reader refuses in part may still be drawn by another; a glyph that changed its size tells.
bool looksTheSame(hb_face_t* before, hb_face_t* after, const std::vector<hb_codepoint_t>& glyphs) {
    const FontPtr old(hb_font_create(before)), cut(hb_font_create(after));
    return std::ranges::all_of(glyphs, [&](hb_codepoint_t glyph) {
        hb_glyph_extents_t a{}, b{};
        const bool had = hb_font_get_glyph_extents(old.get(), glyph, &a);
        const bool has = hb_font_get_glyph_extents(cut.get(), glyph, &b);
        return had == has && a.x_bearing == b.x_bearing && a.y_bearing == b.y_bearing && a.width == b.width &&
               a.height == b.height;
    });
}

}   // namespace

struct FontSubsetter::Face {
    const std::string program;   // face points into it
    FacePtr face;                // null: not a font for us

    explicit Face(std::string_view program_) : program(program_) {
        const BlobPtr blob = blobOf(program);
        face.reset(hb_face_create(blob.get(), 0));
        if (!isPlainTrueType(face.get())) face.reset();
        if (face) hb_face_make_immutable(face.get());   // from now on any number of threads may read it
    }
};

FontSubsetter::FontSubsetter() = default;
FontSubsetter::~FontSubsetter() = default;

std::shared_ptr<const FontSubsetter::Face> FontSubsetter::faceOf(std::string_view program) {
    const std::lock_guard held(mutex_);
    const auto known = std::ranges::find_if(faces_, [&](const auto& face) { return face->program == program; });
    if (known != faces_.end()) {
        faces_.splice(faces_.begin(), faces_, known);
        return faces_.front();
    }
    faces_.push_front(std::make_shared<const Face>(program));
    heldBytes_ += program.size();
    while (heldBytes_ > memoryLimit && faces_.size() > 1) {
        heldBytes_ -= faces_.back()->program.size();
        faces_.pop_back();
    }
    return faces_.front();
}

std::optional<FontSubsetter::Program> FontSubsetter::subset(std::string_view program, const CodeSet& glyphs) {
    if (program.size() > fontLimit) return std::nullopt;
    const auto kept = faceOf(program);
    auto* const face = kept->face.get();
    if (!face) return std::nullopt;
    const InputPtr input(hb_subset_input_create_or_fail());
    if (!input) return std::nullopt;
    unsigned flags = HB_SUBSET_FLAGS_RETAIN_GIDS | HB_SUBSET_FLAGS_NO_HINTING;
    if (glyphs.test(0)) flags |= HB_SUBSET_FLAGS_NOTDEF_OUTLINE;
    hb_subset_input_set_flags(input.get(), flags);
    dropOtherTables(face, input.get());

    std::vector<hb_codepoint_t> used;
    for (std::size_t glyph = 0; glyph < std::min<std::size_t>(glyphs.size(), hb_face_get_glyph_count(face)); ++glyph)
        if (glyphs.test(glyph)) used.push_back(static_cast<hb_codepoint_t>(glyph));
    for (const auto glyph : used) hb_set_add(hb_subset_input_glyph_set(input.get()), glyph);

    const FacePtr cut(hb_subset_or_fail(face, input.get()));
    if (!cut || !looksTheSame(face, cut.get(), used)) return std::nullopt;
    const BlobPtr blob(hb_face_reference_blob(cut.get()));
    const auto bytes = viewOf(blob.get());
    return Program{zlib::deflate(bytes, zlib::Effort::good), bytes.size()};
}

}   // namespace ostrel::pdf
