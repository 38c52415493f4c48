#include "fonts/FontCutter.h"

#include "fonts/HarfBuzz.h"
#include "fuzz/Target.h"
#include "pdf/content/Deflate.h"
#include "pdf/fonts/FontSubsetter.h"
#include "tests/fonts/SampleFont.h"

#include <algorithm>

namespace ostrel::fuzz {
namespace {

const fonts::Characters wanted{U' ', U'A', U'b', U'\u0939', U'\u093f', U'\u4e00'};

// More than any font that was cut: what a glyph takes besides.
constexpr std::size_t room = 1 << 16;

harfBuzz::FontPtr fontOf(std::string_view program) {
    const harfBuzz::FacePtr face(hb_face_create(harfBuzz::blobOf(program).get(), 0));
    return harfBuzz::FontPtr(hb_font_create(face.get()));
}

// What a glyph draws, in words.
std::string drawn(hb_font_t* font, hb_codepoint_t glyph) {
    static constexpr auto add = [](void* text, const char* op, std::initializer_list<float> numbers) {
        auto& words = *static_cast<std::string*>(text);
        for (const float number : numbers) (words += std::to_string(number)) += ' ';
        words += op;
    };
    const harfBuzz::DrawFuncsPtr funcs(hb_draw_funcs_create());
    hb_draw_funcs_set_move_to_func(
        funcs.get(),
        [](auto*, void* text, auto*, float x, float y, void*) {
            add(text, "m", {x, y});
        },
        nullptr, nullptr);
    hb_draw_funcs_set_line_to_func(
        funcs.get(),
        [](auto*, void* text, auto*, float x, float y, void*) {
            add(text, "l", {x, y});
        },
        nullptr, nullptr);
    hb_draw_funcs_set_quadratic_to_func(
        funcs.get(),
        [](auto*, void* text, auto*, float a, float b, float x, float y, void*) {
            add(text, "v", {a, b, x, y});
        },
        nullptr, nullptr);
    std::string words;
    harfBuzz::drawGlyph(font, glyph, funcs.get(), &words);
    return words;
}

void cutFor(std::string_view program, const std::optional<std::string>& cut) {
    if (!cut) return;
    holds(cut->size() <= 4 * program.size() + room, "a cut font is no larger");
    const auto whole = fontOf(program), part = fontOf(*cut);
    for (const char32_t character : wanted) {
        hb_codepoint_t before = 0, after = 0;
        const bool had = hb_font_get_nominal_glyph(whole.get(), character, &before);
        const bool has = hb_font_get_nominal_glyph(part.get(), character, &after);
        holds(had || !has, "a cut font invents no character");
    }
}

void subset(std::string_view program) {
    pdf::CodeSet glyphs;
    for (const std::size_t glyph : {0, 1, 3, 500}) glyphs.set(glyph);
    pdf::FontSubsetter subsetter;
    const auto first = subsetter.subset(program, glyphs), again = subsetter.subset(program, glyphs);
    holds(first.has_value() == again.has_value() && (!first || first->packed == again->packed),
          "what it remembers changes nothing");
    if (!first) return;
    const auto cut = zlib::inflate(first->packed, first->unpackedSize, 4 * program.size() + room);
    holds(cut && cut->size() == first->unpackedSize, "a program is as long as it says");
    const auto whole = fontOf(program), part = fontOf(*cut);
    for (const hb_codepoint_t glyph : {0U, 1U, 3U})
        holds(drawn(whole.get(), glyph) == drawn(part.get(), glyph), "glyphs keep their numbers and outlines");
}

}   // namespace

void run(ByteView input) {
    const std::string_view program = charsOf(input);
    const fonts::FontCutter cutter(program, 0);
    cutFor(program, cutter.cut(wanted));
    cutFor(program, cutter.cutPortion(wanted));
    subset(program);
}

std::vector<std::string> seeds() { return {test::sampleFont(wanted), test::sampleFont({U'A', U'B', U'C', U'D'})}; }

}   // namespace ostrel::fuzz
