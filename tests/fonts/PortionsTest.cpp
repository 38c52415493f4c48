#include "fonts/FontCutter.h"
#include "fonts/HarfBuzz.h"
#include "fonts/InstalledFonts.h"
#include "fonts/TrueTypeGlyph.h"
#include "platform/Files.h"

#include <algorithm>
#include <complex>
#include <memory>
#include <string>

#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>

// Fontconfig keeps what it has read of its configuration until the program ends.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig"; }

namespace ostrel::fonts {
namespace {

harfBuzz::FontPtr fontOf(std::string_view file, int face) {
    const harfBuzz::FacePtr made(hb_face_create(harfBuzz::blobOf(file).get(), static_cast<unsigned>(face)));
    return harfBuzz::FontPtr(hb_font_create(made.get()));
}

// What a glyph paints: its area, and the box around its outline.
struct Paint {
    double area = 0, left = 1e9, bottom = 1e9, right = -1e9, top = -1e9;

    void add(Place from, Place to) {
        area += (from.real() * to.imag() - to.real() * from.imag()) / 2;
        left = std::min(left, to.real());
        right = std::max(right, to.real());
        bottom = std::min(bottom, to.imag());
        top = std::max(top, to.imag());
    }
};

Paint paintOf(hb_font_t* font, hb_codepoint_t glyph) {
    struct Pen {
        Paint paint;
        Place at, start;
        void curve(Place b, Place c, Place d) {
            const Place a = at;
            for (int i = 1; i <= 16; ++i) {
                const double t = i / 16.0, s = 1 - t;
                const Place to = s * s * s * a + 3 * s * s * t * b + 3 * s * t * t * c + t * t * t * d;
                paint.add(at, to);
                at = to;
            }
        }
    } pen;
    const harfBuzz::DrawFuncsPtr funcs(hb_draw_funcs_create());
    hb_draw_funcs_t* const draw = funcs.get();
    static constexpr auto of = [](void* data) -> Pen& { return *static_cast<Pen*>(data); };
    hb_draw_funcs_set_move_to_func(
        draw,
        [](auto*, void* data, auto*, float x, float y, void*) {
            of(data).at = of(data).start = {x, y};
        },
        nullptr, nullptr);
    hb_draw_funcs_set_line_to_func(
        draw,
        [](auto*, void* data, auto*, float x, float y, void*) {
            of(data).paint.add(of(data).at, {x, y});
            of(data).at = {x, y};
        },
        nullptr, nullptr);
    hb_draw_funcs_set_quadratic_to_func(
        draw,
        [](auto*, void* data, auto*, float cx, float cy, float x, float y, void*) {
            const Place a = of(data).at, b{cx, cy}, c{x, y};
            of(data).curve(a + (b - a) * (2.0 / 3), c + (b - c) * (2.0 / 3), c);
        },
        nullptr, nullptr);
    hb_draw_funcs_set_cubic_to_func(
        draw,
        [](auto*, void* data, auto*, float bx, float by, float cx, float cy, float x, float y, void*) {
            of(data).curve({bx, by}, {cx, cy}, {x, y});
        },
        nullptr, nullptr);
    hb_draw_funcs_set_close_path_func(
        draw, [](auto*, void* data, auto*, void*) { of(data).paint.add(of(data).at, of(data).start); }, nullptr,
        nullptr);
    harfBuzz::drawGlyph(font, glyph, draw, &pen);
    return pen.paint;
}

TEST(Portions, HaveTheirFacesGlyphs) {
    const auto faces = eastAsianFaces(FcInitLoadConfigAndFonts());
    if (faces.empty()) GTEST_SKIP() << "no large East Asian font here";
    const auto& face = faces.front();
    const auto bytes = files::readWhole(face.file);
    const FontCutter cutter(bytes.chars(), static_cast<unsigned>(face.index));
    const harfBuzz::FontPtr whole = fontOf(bytes.chars(), face.index);
    const double unit = hb_face_get_upem(hb_font_get_face(whole.get())) / 1000.0;
    std::size_t seen = 0;
    for (const auto& characters : portionsOf({face.kinds.front()})) {
        const auto portion = cutter.cutPortion(characters);
        ASSERT_TRUE(portion);
        const harfBuzz::FontPtr part = fontOf(*portion, 0);
        for (auto character = characters.begin(); character != characters.end(); ++character) {
            hb_codepoint_t before = 0, after = 0;
            const bool had = hb_font_get_nominal_glyph(whole.get(), *character, &before);
            ASSERT_EQ(hb_font_get_nominal_glyph(part.get(), *character, &after), had) << std::hex << +*character;
            if (!had) continue;
            ++seen;
            EXPECT_EQ(hb_font_get_glyph_h_advance(part.get(), after), hb_font_get_glyph_h_advance(whole.get(), before));
            const auto was = paintOf(whole.get(), before), is = paintOf(part.get(), after);
            // PostScript fonts fill on the other side of their outlines.
            EXPECT_NEAR(std::abs(is.area), std::abs(was.area), 0.03 * std::abs(was.area) + 100 * unit * unit)
                << std::hex << +*character;
            for (const auto edge : {&Paint::left, &Paint::bottom, &Paint::right, &Paint::top})
                EXPECT_NEAR(is.*edge, was.*edge, 3 * unit) << std::hex << +*character;
        }
    }
    EXPECT_GT(seen, 3'000U);
}

TEST(Portions, AreWhatPeopleWriteAndShareNoCharacter) {
    const struct {
        const char* why;
        Writing kind;
        std::u32string_view everyday, further;
    } rows[] = {
        {"Japanese", Writing::japanese, U"日本語のテキスト、。「」ーｶﾅ㈱A1", U"弌齊龜"},
        {"simplified Chinese", Writing::simplifiedChinese, U"中文测试您们，。《》", U"匾黯"},
        {"traditional Chinese", Writing::traditionalChinese, U"繁體中文您們，。「」", U""},
        {"Korean", Writing::korean, U"안녕하세요ㅋㅋ", U""},
    };
    const auto all = portionsOf({writings.begin(), writings.end()});
    for (const auto& [why, kind, everyday, further] : rows) {
        const auto portions = portionsOf({kind});
        ASSERT_EQ(portions.size(), further.empty() ? 1U : 2U) << why;
        for (const char32_t c : everyday) EXPECT_TRUE(portions[0].contains(c)) << why << ' ' << std::hex << +c;
        for (const char32_t c : further) EXPECT_TRUE(portions[1].contains(c)) << why << ' ' << std::hex << +c;
        for (const auto& portion : portions)
            for (const char32_t c : portion)
                EXPECT_EQ(std::ranges::count_if(all, [&](const auto& each) { return each.contains(c); }), 1)
                    << why << ' ' << std::hex << +c;
    }
}

}   // namespace
}   // namespace ostrel::fonts
