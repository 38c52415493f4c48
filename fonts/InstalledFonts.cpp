#include "fonts/InstalledFonts.h"

#include "platform/Files.h"
#include "platform/Releaser.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include <fontconfig/fontconfig.h>

namespace ostrel::fonts {
namespace {

namespace fs = std::filesystem;

// Families that mail names, and the generic ones.
constexpr std::array families{"sans-serif", "serif",   "monospace",       "system-ui", "Arial",       "Helvetica",
                              "Times",      "Courier", "Times New Roman", "Georgia",   "Verdana",     "Tahoma",
                              "Calibri",    "Cambria", "Courier New",     "Segoe UI",  "Trebuchet MS"};
constexpr std::array weights{FC_WEIGHT_REGULAR, FC_WEIGHT_BOLD};
constexpr std::array slants{FC_SLANT_ROMAN, FC_SLANT_ITALIC};

// Smaller files cost the engine next to nothing; larger ones would take longer to make than they save.
constexpr std::uint64_t minFileBytes = 64 << 10, maxFileBytes = 16 << 20;

using PatternPtr = std::unique_ptr<FcPattern, Releaser<FcPatternDestroy>>;
using CharSetPtr = std::unique_ptr<FcCharSet, Releaser<FcCharSetDestroy>>;
using StringSetPtr = std::unique_ptr<FcStrSet, Releaser<FcStrSetDestroy>>;
using StringListPtr = std::unique_ptr<FcStrList, Releaser<FcStrListDone>>;

const FcChar8* fcText(const char* text) { return reinterpret_cast<const FcChar8*>(text); }
const char* plainText(const FcChar8* text) { return reinterpret_cast<const char*>(text); }

PatternPtr bestFor(FcConfig* config, PatternPtr wanted) {
    FcConfigSubstitute(config, wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultNoMatch;
    return PatternPtr(FcFontMatch(config, wanted.get(), &result));
}

PatternPtr match(FcConfig* config, const char* family, int weight, int slant) {
    PatternPtr wanted(FcPatternCreate());
    FcPatternAddString(wanted.get(), FC_FAMILY, fcText(family));
    FcPatternAddInteger(wanted.get(), FC_WEIGHT, weight);
    FcPatternAddInteger(wanted.get(), FC_SLANT, slant);
    return bestFor(config, std::move(wanted));
}

struct Face {
    fs::path file;
    int index = 0;
    std::string format;
    bool isVariable = false;
};

std::optional<Face> faceOf(FcPattern* found) {
    FcChar8 *file = nullptr, *format = nullptr;
    if (!found || FcPatternGetString(found, FC_FILE, 0, &file) != FcResultMatch ||
        FcPatternGetString(found, FC_FONTFORMAT, 0, &format) != FcResultMatch) {
        return std::nullopt;
    }
    Face face{plainText(file), 0, plainText(format)};
    FcPatternGetInteger(found, FC_INDEX, 0, &face.index);
    FcBool isVariable = FcFalse;
    FcPatternGetBool(found, FC_VARIABLE, 0, &isVariable);
    face.isVariable = isVariable || face.index > 0xFFFF;   // those of named instances are beyond
    return face;
}

// ---- East Asian text

constexpr const char* languageOf(Writing writing) {
    switch (writing) {
        case Writing::japanese:
            return "ja";
        case Writing::simplifiedChinese:
            return "zh-cn";
        case Writing::traditionalChinese:
            return "zh-tw";
        case Writing::korean:
            break;
    }
    return "ko";
}

// A character that no other kind of text has, or that looks different in each.
constexpr char32_t sampleOf(Writing writing) {
    switch (writing) {
        case Writing::japanese:
            return U'の';
        case Writing::simplifiedChinese:
            return U'们';
        case Writing::traditionalChinese:
            return U'們';
        case Writing::korean:
            break;
    }
    return U'가';
}

PatternPtr match(FcConfig* config, Writing writing, const char* language, int weight) {
    PatternPtr wanted(FcPatternCreate());
    const CharSetPtr sample(FcCharSetCreate());
    FcCharSetAddChar(sample.get(), sampleOf(writing));
    FcPatternAddCharSet(wanted.get(), FC_CHARSET, sample.get());
    FcPatternAddInteger(wanted.get(), FC_WEIGHT, weight);
    if (language) FcPatternAddString(wanted.get(), FC_LANG, fcText(language));
    return bestFor(config, std::move(wanted));
}

std::vector<std::string> languagesOf(FcPattern* found) {
    std::vector<std::string> languages;
    FcLangSet* all = nullptr;
    if (FcPatternGetLangSet(found, FC_LANG, 0, &all) != FcResultMatch) return languages;
    const StringSetPtr names(FcLangSetGetLangs(all));
    const StringListPtr list(FcStrListCreate(names.get()));
    while (const FcChar8* name = FcStrListNext(list.get())) languages.emplace_back(plainText(name));
    return languages;
}

std::vector<std::string> familiesOf(FcPattern* found) {
    std::vector<std::string> names;
    FcChar8* name = nullptr;
    for (int each = 0; FcPatternGetString(found, FC_FAMILY, each, &name) == FcResultMatch; ++each)
        names.emplace_back(plainText(name));
    return names;
}

bool isEastAsian(std::string_view language) {
    const auto withoutPlace = [](std::string_view name) { return name.substr(0, name.find('-')); };
    return std::ranges::any_of(
        writings, [&](Writing writing) { return withoutPlace(language) == withoutPlace(languageOf(writing)); });
}

template <class AnyFace>
auto find(std::vector<PortionedFace>& faces, const AnyFace& face) {
    return std::ranges::find_if(
        faces, [&](const PortionedFace& each) { return each.file == face.file && each.index == face.index; });
}

bool isWorthPortions(const Face& face) {
    constexpr std::uint64_t minBytes = 1 << 20;
    return !face.isVariable && files::size(face.file).value_or(0) >= minBytes;
}

// Those of one weight: for each kind of text its face when nobody says the language, and the one when somebody does.
// A portion has the forms of its own language only, where the whole face may have others for others'. So the first
// are for the East Asian languages whose own face they are, and for all that are not East Asian.
std::vector<PortionedFace> eastAsianFaces(FcConfig* config, int weight) {
    std::vector<PortionedFace> faces, named;
    for (const Writing writing : writings) {
        const auto pattern = match(config, writing, nullptr, weight);
        const auto face = faceOf(pattern.get());
        if (!face || !isWorthPortions(*face)) continue;
        auto known = find(faces, *face);
        if (known == faces.end()) {
            auto languages = languagesOf(pattern.get());
            std::erase_if(languages, isEastAsian);
            known = faces.insert(known, {face->file, face->index, familiesOf(pattern.get()), std::move(languages), {}});
        }
        known->kinds.push_back(writing);
    }
    for (const Writing writing : writings) {
        const auto pattern = match(config, writing, languageOf(writing), weight);
        const auto face = faceOf(pattern.get());
        if (!face || !isWorthPortions(*face)) continue;
        auto known = find(faces, *face);
        if (known == faces.end()) {
            known = find(named, *face);
            if (known == named.end())
                known = named.insert(known, {face->file, face->index, familiesOf(pattern.get()), {}, {}});
        }
        known->languages.emplace_back(languageOf(writing));
        std::erase(known->kinds, writing);
        known->kinds.insert(known->kinds.begin(), writing);   // mostly it is this that is written here
    }
    std::ranges::move(named, std::back_inserter(faces));
    return faces;
}

}   // namespace

std::set<fs::path> textFonts(FcConfig* config) {
    std::set<fs::path> result;
    for (const char* family : families)
        for (const int weight : weights)
            for (const int slant : slants) {
                const auto face = faceOf(match(config, family, weight, slant).get());
                if (!face || face->format != "TrueType" || face->index != 0 || face->isVariable) continue;
                const auto bytes = files::size(face->file).value_or(0);
                if (bytes >= minFileBytes && bytes <= maxFileBytes) result.insert(face->file);
            }
    return result;
}

// Fonts with PostScript outlines (those of Ghostscript often stand for Helvetica and Times) reach the PDF as drawings,
// glyph by glyph: a plain mail takes a third more room and time. They are left out as far as TrueType fonts have all
// their characters.
std::set<fs::path> needlessDrawnFonts(FcConfig* config) {
    const CharSetPtr covered(FcCharSetCreate());
    for (FcChar32 c = 0xE000; c <= 0xF8FF; ++c) FcCharSetAddChar(covered.get(), c);   // private use: nobody mails them
    std::vector<std::pair<fs::path, FcCharSet*>> drawn;
    const FcFontSet* fonts = FcConfigGetFonts(config, FcSetSystem);
    for (int each = 0; fonts && each < fonts->nfont; ++each) {
        const auto face = faceOf(fonts->fonts[each]);
        FcCharSet* characters = nullptr;
        if (!face || FcPatternGetCharSet(fonts->fonts[each], FC_CHARSET, 0, &characters) != FcResultMatch) continue;
        if (face->format == "TrueType") FcCharSetMerge(covered.get(), characters, nullptr);
        if (face->format == "CFF" || face->format == "Type 1") drawn.emplace_back(face->file, characters);
    }
    std::set<fs::path> result;
    for (const auto& [file, characters] : drawn) {
        if (FcCharSetIsSubset(characters, covered.get())) result.insert(file);
    }
    return result;
}

std::vector<PortionedFace> eastAsianFaces(FcConfig* config) {
    std::vector<PortionedFace> faces;
    for (const int weight : weights)
        for (auto& face : eastAsianFaces(config, weight)) {   // one may stand for several weights
            if (find(faces, face) == faces.end()) faces.push_back(std::move(face));
        }
    return faces;
}

}   // namespace ostrel::fonts
