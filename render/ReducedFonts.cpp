#include "render/ReducedFonts.h"

#include "platform/Files.h"
#include "render/EngineEnvironment.h"
#include "render/GRef.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <fontconfig/fontconfig.h>
#include <hb-ot.h>
#include <hb-subset.h>

namespace ostrel::reducedFonts {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view formatVersion = "3";   // of what stands in the folder
constexpr std::string_view namePrefix = "fonts-";

// Families that mail names, and the generic ones; what they stand for on this system is for fontconfig to say.
constexpr std::array families{"sans-serif", "serif",   "monospace",       "system-ui", "Arial",       "Helvetica",
                              "Times",      "Courier", "Times New Roman", "Georgia",   "Verdana",     "Tahoma",
                              "Calibri",    "Cambria", "Courier New",     "Segoe UI",  "Trebuchet MS"};
constexpr std::array weights{FC_WEIGHT_REGULAR, FC_WEIGHT_BOLD};
constexpr std::array slants{FC_SLANT_ROMAN, FC_SLANT_ITALIC};

// Smaller files cost the engine next to nothing; larger ones would take longer to make than they save.
constexpr std::uint64_t leastFileBytes = 64 << 10, mostFileBytes = 16 << 20;

// The letters, punctuation and symbols of Latin, Greek and Cyrillic text: what mixes within a word stays in one font.
// Other scripts and what only scholars write, half of a large font, come from the whole fonts, which stay installed.
struct Range {
    hb_codepoint_t first, last;
};
constexpr std::array textCharacters{Range{0x0000, 0x045F}, Range{0x048A, 0x04FF}, Range{0x1E00, 0x23FF},
                                    Range{0x2460, 0x27BF}, Range{0xFB00, 0xFB06}, Range{0xFE00, 0xFE0F},
                                    Range{0xFEFF, 0xFEFF}, Range{0xFFFC, 0xFFFD}};

// Since when a folder that no run has used may go: nobody's program is still running on it.
constexpr auto keptUnused = std::chrono::hours(24 * 30);

using ConfigPtr = std::unique_ptr<FcConfig, Releaser<FcConfigDestroy>>;
using PatternPtr = std::unique_ptr<FcPattern, Releaser<FcPatternDestroy>>;
using CharSetPtr = std::unique_ptr<FcCharSet, Releaser<FcCharSetDestroy>>;
using BlobPtr = std::unique_ptr<hb_blob_t, Releaser<hb_blob_destroy>>;
using FacePtr = std::unique_ptr<hb_face_t, Releaser<hb_face_destroy>>;
using InputPtr = std::unique_ptr<hb_subset_input_t, Releaser<hb_subset_input_destroy>>;

const FcChar8* fcText(const char* text) { return reinterpret_cast<const FcChar8*>(text); }
const char* plainText(const FcChar8* text) { return reinterpret_cast<const char*>(text); }

// ---- Which fonts

PatternPtr match(FcConfig* config, const char* family, int weight, int slant) {
    const PatternPtr wanted(FcPatternCreate());
    FcPatternAddString(wanted.get(), FC_FAMILY, fcText(family));
    FcPatternAddInteger(wanted.get(), FC_WEIGHT, weight);
    FcPatternAddInteger(wanted.get(), FC_SLANT, slant);
    FcConfigSubstitute(config, wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultNoMatch;
    return PatternPtr(FcFontMatch(config, wanted.get(), &result));
}

// Other formats reach the PDF in other ways than whole.
std::optional<fs::path> trueTypeFile(FcPattern* found) {
    FcChar8 *file = nullptr, *format = nullptr;
    int index = 0;
    FcBool isVariable = FcFalse;
    if (!found || FcPatternGetString(found, FC_FILE, 0, &file) != FcResultMatch ||
        FcPatternGetString(found, FC_FONTFORMAT, 0, &format) != FcResultMatch) {
        return std::nullopt;
    }
    FcPatternGetInteger(found, FC_INDEX, 0, &index);
    FcPatternGetBool(found, FC_VARIABLE, 0, &isVariable);
    if (plainText(format) != std::string_view("TrueType") || index != 0 || isVariable) return std::nullopt;
    return plainText(file);
}

std::set<fs::path> textFonts(FcConfig* config) {
    std::set<fs::path> result;
    for (const char* family : families)
        for (const int weight : weights)
            for (const int slant : slants) {
                const auto file = trueTypeFile(match(config, family, weight, slant).get());
                const auto bytes = file ? files::size(*file).value_or(0) : 0;
                if (bytes >= leastFileBytes && bytes <= mostFileBytes) result.insert(*file);
            }
    return result;
}

// Fonts with PostScript outlines (those of Ghostscript often stand for Helvetica and Times) reach the PDF as drawings,
// glyph by glyph: a plain mail takes a third more room and time. They are left out as far as TrueType fonts have all
// their characters.
std::set<fs::path> drawnFonts(FcConfig* config) {
    const CharSetPtr covered(FcCharSetCreate());
    for (FcChar32 c = 0xE000; c <= 0xF8FF; ++c) FcCharSetAddChar(covered.get(), c);   // private use: nobody mails them
    std::vector<std::pair<fs::path, FcCharSet*>> drawn;
    const FcFontSet* fonts = FcConfigGetFonts(config, FcSetSystem);
    for (int each = 0; fonts && each < fonts->nfont; ++each) {
        FcChar8 *file = nullptr, *format = nullptr;
        FcCharSet* characters = nullptr;
        if (FcPatternGetString(fonts->fonts[each], FC_FILE, 0, &file) != FcResultMatch ||
            FcPatternGetString(fonts->fonts[each], FC_FONTFORMAT, 0, &format) != FcResultMatch ||
            FcPatternGetCharSet(fonts->fonts[each], FC_CHARSET, 0, &characters) != FcResultMatch) {
            continue;
        }
        const std::string_view name = plainText(format);
        if (name == "TrueType") FcCharSetMerge(covered.get(), characters, nullptr);
        if (name == "CFF" || name == "Type 1") drawn.emplace_back(plainText(file), characters);
    }
    std::set<fs::path> result;
    for (const auto& [file, characters] : drawn) {
        if (FcCharSetIsSubset(characters, covered.get())) result.insert(file);
    }
    return result;
}

std::string keyOf(const std::string& configuration, const std::set<fs::path>& fonts) {
    std::string facts = std::string(formatVersion) + '\n' + configuration;
    for (const auto& font : fonts) {
        const auto modified = files::modificationDate(font);
        facts += '\n' + font.string() + '\n' + std::to_string(files::size(font).value_or(0)) + '\n' +
                 std::to_string(modified ? modified->time_since_epoch().count() : 0);
    }
    const GChars digest(g_compute_checksum_for_string(G_CHECKSUM_SHA256, facts.data(), std::ssize(facts)));
    return std::string(digest.get()).substr(0, 16);
}

// ---- One font

bool hasTable(hb_face_t* face, hb_tag_t tag) {
    const BlobPtr table(hb_face_reference_table(face, tag));
    return hb_blob_get_length(table.get()) > 0;
}

// The subsetter leaves out the old kerning table, which counts where the layout tables have no kerning.
bool mayLoseItsKerning(hb_face_t* face) {
    if (!hasTable(face, HB_TAG('k', 'e', 'r', 'n'))) return false;
    std::array<hb_tag_t, 128> tags;
    unsigned count = tags.size();
    hb_ot_layout_table_get_feature_tags(face, HB_OT_TAG_GPOS, 0, &count, tags.data());
    return std::ranges::count(std::span(tags).first(count), HB_TAG('k', 'e', 'r', 'n')) == 0;
}

void keepAll(hb_subset_input_t* input, hb_subset_sets_t which) {
    hb_set_t* set = hb_subset_input_set(input, which);
    hb_set_clear(set);
    hb_set_invert(set);
}

// The same outlines, advances and layout rules, without the instructions for coarse screens, which make up half of a
// font and which no print uses, and without rare characters: the engine packs a font anew for each page, which takes
// it longer than everything else. Nothing where it is not worth while, or not safe.
std::optional<std::string> reduced(std::string_view font) {
    const BlobPtr blob(
        hb_blob_create(font.data(), static_cast<unsigned>(font.size()), HB_MEMORY_MODE_READONLY, nullptr, nullptr));
    const FacePtr face(hb_face_create(blob.get(), 0));
    const InputPtr input(hb_subset_input_create_or_fail());
    if (!input || !hasTable(face.get(), HB_TAG('g', 'l', 'y', 'f')) || mayLoseItsKerning(face.get())) return {};
    hb_subset_input_set_flags(input.get(), HB_SUBSET_FLAGS_NO_HINTING | HB_SUBSET_FLAGS_NOTDEF_OUTLINE |
                                               HB_SUBSET_FLAGS_NAME_LEGACY | HB_SUBSET_FLAGS_NO_PRUNE_UNICODE_RANGES);
    for (const auto which : {HB_SUBSET_SETS_LAYOUT_FEATURE_TAG, HB_SUBSET_SETS_NAME_ID, HB_SUBSET_SETS_NAME_LANG_ID})
        keepAll(input.get(), which);
    hb_set_t* const characters = hb_subset_input_unicode_set(input.get());
    for (const auto& [first, last] : textCharacters) hb_set_add_range(characters, first, last);

    const FacePtr made(hb_subset_or_fail(face.get(), input.get()));
    if (!made) return {};
    const BlobPtr result(hb_face_reference_blob(made.get()));
    unsigned size = 0;
    const char* bytes = hb_blob_get_data(result.get(), &size);
    if (size == 0 || size > font.size() / 10 * 9) return {};
    return std::string(bytes, size);
}

// ---- The folder

std::string escaped(const fs::path& path) { return GChars(g_markup_escape_text(path.c_str(), -1)).get(); }

// The system's configuration, without some of its fonts.
std::string baseOf(const std::string& system, const std::set<fs::path>& leftOut) {
    std::string base = "<include>" + escaped(system) + "</include>\n<selectfont><rejectfont>\n";
    for (const auto& font : leftOut) base += "<glob>" + escaped(font) + "</glob>\n";
    return base + "</rejectfont></selectfont>\n";
}

ConfigPtr configOf(const std::string& base) {
    ConfigPtr config(FcConfigCreate());
    const std::string whole = "<fontconfig>\n" + base + "</fontconfig>\n";
    if (!config || !FcConfigParseAndLoadFromMemory(config.get(), fcText(whole.c_str()), FcTrue) ||
        !FcConfigBuildFonts(config.get())) {
        return nullptr;
    }
    return config;
}

// The reduced face has the names of the whole one and wins by its higher version. The first cache folder is the one
// that fontconfig writes to.
std::string configuration(const fs::path& folder, const std::string& base) {
    const std::string faces = escaped(folder / "faces");
    return "<?xml version=\"1.0\"?>\n"
           "<!DOCTYPE fontconfig SYSTEM \"urn:fontconfig:fonts.dtd\">\n"
           "<fontconfig>\n"
           "<cachedir>" +
           escaped(folder / "cache") + "</cachedir>\n" + base + "<dir>" + faces +
           "</dir>\n"
           "<match target=\"scan\">\n"
           "<test name=\"file\" compare=\"contains\"><string>" +
           faces +
           "/</string></test>\n"
           "<edit name=\"fontversion\" mode=\"assign\"><int>2147483647</int></edit>\n"
           "</match>\n"
           "</fontconfig>\n";
}

// Lists the faces once for all; the engine, which may not write here, would do it at every start.
void fillCache(const fs::path& configurationFile) {
    const ConfigPtr config(FcConfigCreate());
    if (FcConfigParseAndLoad(config.get(), fcText(configurationFile.c_str()), FcTrue)) FcConfigBuildFonts(config.get());
}

// Beside the place, then renamed to it: whoever sees the folder sees all of it.
void make(const fs::path& folder, const std::string& base, const std::set<fs::path>& fonts) {
    std::string name = folder.string() + ".XXXXXX";
    if (!mkdtemp(name.data())) throw FileError::writing(name, std::error_code(errno, std::generic_category()));
    try {
        const fs::path unfinished = name;
        files::createFolders(unfinished / "faces");
        files::createFolders(unfinished / "cache");
        int number = 0;   // files of one name may come from several folders
        for (const auto& font : fonts) {
            const auto bytes = files::readWhole(font);
            if (const auto face = reduced(bytes.chars()))
                files::writeAtomically(unfinished / "faces" / (std::to_string(++number) + ".ttf"), bytesOf(*face));
        }
        files::writeAtomically(unfinished / "fonts.conf", bytesOf(configuration(folder, base)));
        fs::rename(unfinished, folder);
    } catch (const std::exception&) {
        std::error_code ignored;
        fs::remove_all(name, ignored);
        throw;
    }
    fillCache(folder / "fonts.conf");
}

void removeOld(const fs::path& parent) {
    const auto now = fs::file_time_type::clock::now();
    for (const auto& name : files::list(parent)) {
        std::error_code error;
        const auto used = fs::last_write_time(parent / name, error);
        if (!error && name.string().starts_with(namePrefix) && now - used > keptUnused)
            fs::remove_all(parent / name, error);
    }
}

std::optional<fs::path>& provided() {
    static std::optional<fs::path> folder;
    return folder;
}

}   // namespace

std::optional<fs::path> folderIn(const fs::path& cache) {
    const ConfigPtr config(FcConfigReference(nullptr));   // what this program uses, loaded here if nobody has yet
    const std::unique_ptr<FcChar8, Releaser<FcStrFree>> system(FcConfigGetFilename(config.get(), nullptr));
    if (!config || !system) return std::nullopt;
    const auto leftOut = drawnFonts(config.get());
    const std::string base = baseOf(plainText(system.get()), leftOut);
    const ConfigPtr chosen = leftOut.empty() ? nullptr : configOf(base);
    const auto fonts = textFonts(chosen ? chosen.get() : config.get());
    const auto folder = cache / "ostrel" / (std::string(namePrefix) + keyOf(base, fonts));
    const auto isThere = [&] { return files::isRegularFile(folder / "fonts.conf"); };
    try {
        if (!isThere()) {
            files::createFolders(folder.parent_path());
            make(folder, base, fonts);
            removeOld(folder.parent_path());
        }
    } catch (const std::exception&) {
        // Another program may have been faster.
    }
    if (!isThere()) return std::nullopt;
    std::error_code ignored;
    fs::last_write_time(folder, fs::file_time_type::clock::now(), ignored);
    return folder;
}

bool provide(const fs::path& cache) {
    constexpr const char* chosen = "FONTCONFIG_FILE";
    if (std::getenv(chosen) != nullptr) return true;   // somebody wants just those fonts
    provided() = folderIn(cache);                      // loads the system's fonts, with which this program itself stays
    if (provided()) engineEnvironment::set(chosen, *provided() / "fonts.conf");
    return provided().has_value();
}

const std::optional<fs::path>& providedFolder() { return provided(); }

}   // namespace ostrel::reducedFonts
