#include "pdf/plain/PlainFonts.h"

#include <pango/pangofc-fontmap.h>
#include <pango/pangoft2.h>

namespace ostrel::pdf {
namespace {

using ConfigPtr = std::unique_ptr<FcConfig, Releaser<FcConfigDestroy>>;
using FontMapPtr = std::unique_ptr<PangoFontMap, Releaser<g_object_unref>>;

constexpr const char* outlinesOnly = R"(<fontconfig>
<selectfont><rejectfont>
<pattern><patelt name="fontformat"><string>CFF</string></patelt></pattern>
<pattern><patelt name="fontformat"><string>Type 1</string></patelt></pattern>
<pattern><patelt name="fontformat"><string>CID Type 1</string></patelt></pattern>
<pattern><patelt name="color"><bool>true</bool></patelt></pattern>
<pattern><patelt name="variable"><bool>true</bool></patelt></pattern>
<pattern><patelt name="scalable"><bool>false</bool></patelt></pattern>
</rejectfont></selectfont>
<match target="font"><edit name="hinting" mode="assign"><bool>false</bool></edit></match>
<match target="font"><edit name="embolden" mode="assign"><bool>false</bool></edit></match>
</fontconfig>)";

ConfigPtr configuration() {
    ConfigPtr config(FcInitLoadConfig());
    const auto* const rules = reinterpret_cast<const FcChar8*>(outlinesOnly);
    if (!config || !FcConfigParseAndLoadFromMemory(config.get(), rules, FcTrue) || !FcConfigBuildFonts(config.get()))
        return nullptr;
    const FcFontSet* const fonts = FcConfigGetFonts(config.get(), FcSetSystem);
    return fonts && fonts->nfont > 0 ? std::move(config) : nullptr;   // Pango ends the program when there is none
}

}   // namespace

PlainFonts::PlainFonts() : characters_(FcCharSetCreate()) {
    const ConfigPtr config = configuration();
    if (!config) return;
    const FcFontSet* const fonts = FcConfigGetFonts(config.get(), FcSetSystem);
    for (int i = 0; i < fonts->nfont; ++i) {
        FcCharSet* own = nullptr;
        if (FcPatternGetCharSet(fonts->fonts[i], FC_CHARSET, 0, &own) == FcResultMatch)
            FcCharSetMerge(characters_.get(), own, nullptr);
    }
    const FontMapPtr map(pango_ft2_font_map_new());
    constexpr double pointsPerInch = 72;
    pango_ft2_font_map_set_resolution(PANGO_FT2_FONT_MAP(map.get()), pointsPerInch, pointsPerInch);
    pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(map.get()), config.get());
    context_.reset(pango_font_map_create_context(map.get()));
    pango_context_set_round_glyph_positions(context_.get(), FALSE);
}

}   // namespace ostrel::pdf
