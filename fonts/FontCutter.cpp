#include "fonts/FontCutter.h"

#include "fonts/HarfBuzz.h"
#include "fonts/TrueTypeGlyph.h"

#include <algorithm>
#include <array>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include <hb-ot.h>

namespace ostrel::fonts {
namespace {

using namespace harfBuzz;

constexpr hb_tag_t glyfTag = HB_TAG('g', 'l', 'y', 'f'), locaTag = HB_TAG('l', 'o', 'c', 'a'),
                   headTag = HB_TAG('h', 'e', 'a', 'd'), hheaTag = HB_TAG('h', 'h', 'e', 'a'),
                   hmtxTag = HB_TAG('h', 'm', 't', 'x'), maxpTag = HB_TAG('m', 'a', 'x', 'p'),
                   cffTag = HB_TAG('C', 'F', 'F', ' '), kernTag = HB_TAG('k', 'e', 'r', 'n');

// What leads to other forms of ideographs: other languages', and those of other times, which mail does not ask for.
constexpr std::array otherForms{"locl", "aalt", "jp78", "jp83", "jp90", "jp04", "nlck", "trad", "smpl", "expt", "hojo"};

std::string copyOf(hb_face_t* face) { return std::string(viewOf(BlobPtr(hb_face_reference_blob(face)).get())); }

std::string copyOf(hb_face_t* face, hb_tag_t table) {
    return std::string(viewOf(BlobPtr(hb_face_reference_table(face, table)).get()));
}

// The subsetter leaves out the old kerning table, which counts where the layout tables have no kerning.
bool mayLoseItsKerning(hb_face_t* face) {
    if (!hasTable(face, kernTag)) return false;
    std::array<hb_tag_t, 128> tags;
    unsigned count = tags.size();
    hb_ot_layout_table_get_feature_tags(face, HB_OT_TAG_GPOS, 0, &count, tags.data());
    return std::ranges::count(std::span(tags).first(count), kernTag) == 0;
}

void keepAll(hb_subset_input_t* input, hb_subset_sets_t which) {
    hb_set_t* set = hb_subset_input_set(input, which);
    hb_set_clear(set);
    hb_set_invert(set);
}

InputPtr inputFor(const Characters& characters) {
    InputPtr input(hb_subset_input_create_or_fail());
    if (!input) return input;
    hb_subset_input_set_flags(input.get(), HB_SUBSET_FLAGS_NO_HINTING | HB_SUBSET_FLAGS_NOTDEF_OUTLINE |
                                               HB_SUBSET_FLAGS_NAME_LEGACY | HB_SUBSET_FLAGS_NO_PRUNE_UNICODE_RANGES);
    for (const auto which : {HB_SUBSET_SETS_NAME_ID, HB_SUBSET_SETS_NAME_LANG_ID}) keepAll(input.get(), which);
    hb_set_t* const wanted = hb_subset_input_unicode_set(input.get());
    for (const char32_t character : characters) hb_set_add(wanted, character);
    return input;
}

// ---- PostScript outlines to TrueType ones

DrawFuncsPtr drawingInto() {
    DrawFuncsPtr funcs(hb_draw_funcs_create());
    const auto glyph = [](void* data) -> TrueTypeGlyph& { return *static_cast<TrueTypeGlyph*>(data); };
    static constexpr auto to = glyph;
    hb_draw_funcs_set_move_to_func(
        funcs.get(),
        [](auto*, void* data, auto*, float x, float y, void*) {
            to(data).moveTo({x, y});
        },
        nullptr, nullptr);
    hb_draw_funcs_set_line_to_func(
        funcs.get(),
        [](auto*, void* data, auto*, float x, float y, void*) {
            to(data).lineTo({x, y});
        },
        nullptr, nullptr);
    hb_draw_funcs_set_cubic_to_func(
        funcs.get(),
        [](auto*, void* data, auto*, float x1, float y1, float x2, float y2, float x, float y, void*) {
            to(data).curveTo({x1, y1}, {x2, y2}, {x, y});
        },
        nullptr, nullptr);
    hb_draw_funcs_set_close_path_func(
        funcs.get(), [](auto*, void* data, auto*, void*) { to(data).close(); }, nullptr, nullptr);
    return funcs;
}

void put16(std::string& table, std::size_t at, int number) {
    table[at] = static_cast<char>(number >> 8 & 0xFF);
    table[at + 1] = static_cast<char>(number & 0xFF);
}

void append16(std::string& table, int number) {
    table.resize(table.size() + 2);
    put16(table, table.size() - 2, number);
}

void append32(std::string& table, std::size_t number) {
    append16(table, static_cast<int>(number >> 16));
    append16(table, static_cast<int>(number & 0xFFFF));
}

struct Tables {
    std::string glyf, loca, hmtx, maxp;
};

// Of the glyphs of a face that are left, by their new numbers.
std::optional<Tables> trueTypeTables(hb_face_t* face, const hb_map_t* glyphs) {
    const FontPtr font(hb_font_create(face));   // in the face's own units
    const DrawFuncsPtr draw = drawingInto();
    // Twice as fine as that of the best known East Asian TrueType fonts, which have 256 units; a seventh smaller than
    // with the units of PostScript fonts.
    const int grid = std::max(1, static_cast<int>(hb_face_get_upem(face)) / 500);
    const unsigned count = hb_map_get_population(glyphs);
    std::size_t maxPoints = 0, maxContours = 0;
    Tables tables;
    for (hb_codepoint_t number = 0; number < count; ++number) {
        const hb_codepoint_t id = hb_map_get(glyphs, number);
        TrueTypeGlyph glyph(grid);
        drawGlyph(font.get(), id, draw.get(), &glyph);
        const auto entry = glyph.entry();
        if (!entry) return std::nullopt;
        append32(tables.loca, tables.glyf.size());
        tables.glyf += *entry;
        append16(tables.hmtx, hb_font_get_glyph_h_advance(font.get(), id));
        append16(tables.hmtx, glyph.left());   // viewers move a glyph until its box begins there
        maxPoints = std::max(maxPoints, glyph.pointCount());
        maxContours = std::max(maxContours, glyph.contourCount());
    }
    append32(tables.loca, tables.glyf.size());
    append32(tables.maxp, 0x10000);
    for (const std::size_t number : {std::size_t{count}, maxPoints, maxContours}) append16(tables.maxp, int(number));
    for (const int number : {0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0}) append16(tables.maxp, number);   // 1: one zone
    return tables;
}

// A face that lacks its outlines, with those.
std::optional<std::string> withOutlines(hb_face_t* face, const Tables& tables) {
    auto head = copyOf(face, headTag), hhea = copyOf(face, hheaTag);
    constexpr std::size_t headBytes = 54, hheaBytes = 36;
    if (head.size() < headBytes || hhea.size() < hheaBytes) return std::nullopt;
    put16(head, headBytes - 4, 1);   // the form of "loca": whole offsets of 32 bits
    put16(hhea, hheaBytes - 2, static_cast<int>(tables.hmtx.size() / 4));   // each glyph has an advance of its own

    std::map<hb_tag_t, std::string> all{{headTag, std::move(head)}, {hheaTag, std::move(hhea)}};
    std::array<hb_tag_t, 64> tags;
    unsigned count = tags.size();
    hb_face_get_table_tags(face, 0, &count, tags.data());
    for (const hb_tag_t tag : std::span(tags).first(count)) all.try_emplace(tag, copyOf(face, tag));
    all[hmtxTag] = tables.hmtx;
    all[maxpTag] = tables.maxp;
    all[glyfTag] = tables.glyf;
    all[locaTag] = tables.loca;
    const FacePtr builder(hb_face_builder_create());
    for (const auto& [tag, bytes] : all) hb_face_builder_add_table(builder.get(), tag, blobOf(bytes).get());
    return copyOf(builder.get());
}

}   // namespace

Characters charactersIn(std::span<const Range> ranges) {
    Characters characters;
    for (const auto& [first, last] : ranges)
        for (char32_t character = first; character <= last; ++character) characters.insert(character);
    return characters;
}

struct FontCutter::Face {
    FacePtr face;
};

FontCutter::FontCutter(std::string_view file, unsigned face) : face_(std::make_unique<Face>()) {
    face_->face.reset(hb_face_create(blobOf(file).get(), face));
}

FontCutter::~FontCutter() = default;

std::optional<std::string> FontCutter::cut(const Characters& characters) const {
    hb_face_t* const face = face_->face.get();
    const InputPtr input = inputFor(characters);
    if (!input || !hasTable(face, glyfTag) || mayLoseItsKerning(face)) return {};
    keepAll(input.get(), HB_SUBSET_SETS_LAYOUT_FEATURE_TAG);
    const FacePtr made(hb_subset_or_fail(face, input.get()));
    if (!made) return {};
    return copyOf(made.get());
}

std::optional<std::string> FontCutter::cutPortion(const Characters& characters) const {
    hb_face_t* const face = face_->face.get();
    const InputPtr input = inputFor(characters);
    const bool isTrueType = hasTable(face, glyfTag);
    if (!input || (!isTrueType && !hasTable(face, cffTag)) || mayLoseItsKerning(face)) return {};
    keepAll(input.get(), HB_SUBSET_SETS_LAYOUT_FEATURE_TAG);
    hb_set_t* const features = hb_subset_input_set(input.get(), HB_SUBSET_SETS_LAYOUT_FEATURE_TAG);
    for (const auto* feature : otherForms) hb_set_del(features, hb_tag_from_string(feature, -1));
    if (!isTrueType) hb_set_add(hb_subset_input_set(input.get(), HB_SUBSET_SETS_DROP_TABLE_TAG), cffTag);
    const PlanPtr plan(hb_subset_plan_create_or_fail(face, input.get()));
    const FacePtr made(plan ? hb_subset_plan_execute_or_fail(plan.get()) : nullptr);
    if (!made) return {};
    const BlobPtr file(hb_face_reference_blob(made.get()));
    if (isTrueType) return std::string(viewOf(file.get()));
    const auto tables = trueTypeTables(face, hb_subset_plan_new_to_old_glyph_mapping(plan.get()));
    if (!tables) return {};
    return withOutlines(FacePtr(hb_face_create(file.get(), 0)).get(), *tables);   // one that can tell its tables
}

}   // namespace ostrel::fonts
