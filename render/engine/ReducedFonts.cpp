#include "render/engine/ReducedFonts.h"

#include "fonts/FontCutter.h"
#include "fonts/InstalledFonts.h"
#include "platform/Environment.h"
#include "platform/Files.h"
#include "render/loop/GRef.h"
#include "render/loop/Log.h"
#include "render/overrides/Register.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <future>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <fontconfig/fontconfig.h>

namespace ostrel::reducedFonts {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view formatVersion = "6";   // of what stands in the folder
constexpr std::string_view namePrefix = "fonts-";

// The letters, punctuation and symbols of Latin, Greek and Cyrillic text: what mixes within a word stays in one font.
// Other scripts and what only scholars write, half of a large font, come from the whole fonts, which stay installed.
constexpr std::array textRanges{fonts::Range{0x0000, 0x045F}, fonts::Range{0x048A, 0x04FF},
                                fonts::Range{0x1E00, 0x23FF}, fonts::Range{0x2460, 0x27BF},
                                fonts::Range{0xFB00, 0xFB06}, fonts::Range{0xFE00, 0xFE0F},
                                fonts::Range{0xFEFF, 0xFEFF}, fonts::Range{0xFFFC, 0xFFFD}};

// Since when a folder that no run has used may go: nobody's program is still running on it.
constexpr auto keptUnused = std::chrono::hours(24 * 30);

using ConfigPtr = std::unique_ptr<FcConfig, Releaser<FcConfigDestroy>>;
using PatternPtr = std::unique_ptr<FcPattern, Releaser<FcPatternDestroy>>;
const FcChar8* fcText(const char* text) { return reinterpret_cast<const FcChar8*>(text); }
const char* plainText(const FcChar8* text) { return reinterpret_cast<const char*>(text); }

// What is to be made on a system.
struct Plan {
    std::string base;   // of the configuration: the system's, without some of its fonts
    std::set<fs::path> textFonts;
    std::vector<fonts::PortionedFace> eastAsian;
};

std::string factsAbout(const fs::path& font) {
    const auto modified = files::modificationDate(font);
    return font.string() + '\n' + std::to_string(files::size(font).value_or(0)) + '\n' +
           std::to_string(modified ? modified->time_since_epoch().count() : 0) + '\n';
}

std::string keyOf(const Plan& plan) {
    std::string facts = std::string(formatVersion) + '\n' + plan.base;
    for (const auto& font : plan.textFonts) facts += factsAbout(font);
    for (const auto& face : plan.eastAsian) {
        facts += factsAbout(face.file) + std::to_string(face.index);
        for (const auto& language : face.languages) facts += ' ' + language;
        for (const auto kind : face.kinds) facts += ' ' + std::to_string(static_cast<int>(kind));
    }
    const GChars digest(g_compute_checksum_for_string(G_CHECKSUM_SHA256, facts.data(), std::ssize(facts)));
    return std::string(digest.get()).substr(0, 16);
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

Plan planFor(FcConfig* config, const std::string& system) {
    const auto leftOut = fonts::needlessDrawnFonts(config);
    std::string base = baseOf(system, leftOut);
    const ConfigPtr chosen = leftOut.empty() ? nullptr : configOf(base);
    FcConfig* const used = chosen ? chosen.get() : config;
    return {std::move(base), fonts::textFonts(used), fonts::eastAsianFaces(used)};
}

// The portions of all faces sort behind each other, those of the first face first.
std::string portionPrefix(std::size_t face) { return "portions-" + std::to_string(10 + face) + "-"; }

std::string rule(const char* target, const std::string& test, const std::string& edit) {
    return std::string("<match target=\"") + target + "\">" + test + edit + "</match>\n";
}
std::string assign(const std::string& property, const std::string& value) {
    return "<edit name=\"" + property + "\" mode=\"assign\">" + value + "</edit>";
}
std::string ofFiles(const fs::path& start) {
    return "<test name=\"file\" compare=\"contains\"><string>" + escaped(start) + "</string></test>";
}

// Portions are for text whose font nobody has named; a named one, which would miss some of its characters and take them
// from elsewhere, stays whole. What tells them apart is a property that decides only where all else is the same.
std::string rasterizer(const char* whose) {
    return assign("rasterizer", std::string("<string>") + whose + "</string>");
}

// The engine asks for Chinese by its script, of which fontconfig knows nothing, so that any Chinese font would do.
std::string patternRules(const std::vector<fonts::PortionedFace>& faces) {
    std::string rules;
    for (const auto& face : faces)
        for (const auto& family : face.families)
            rules +=
                rule("pattern", "<test name=\"family\" qual=\"first\"><string>" + escaped(family) + "</string></test>",
                     rasterizer("of whole fonts"));
    struct Row {
        const char *script, *language;
    };
    for (const auto& [script, language] :
         {Row{"zh-hans", "zh-cn"}, Row{"zh-Hans", "zh-cn"}, Row{"zh-hant", "zh-tw"}, Row{"zh-Hant", "zh-tw"}}) {
        rules += rule("pattern", std::string("<test name=\"lang\"><string>") + script + "</string></test>",
                      assign("lang", std::string("<string>") + language + "</string>"));
    }
    return rules;
}

// Fontconfig takes a font for fit for a language when it has all its characters, which a portion never has.
std::string portionRules(const fs::path& files, const std::vector<std::string>& languages) {
    std::string set;
    for (const auto& language : languages) set += "<string>" + language + "</string>";
    return rule("scan", ofFiles(files), rasterizer("of portions") + assign("lang", "<langset>" + set + "</langset>"));
}

// What is made here has the names of the whole fonts. A reduced one wins by its higher version. The first cache folder
// is the one that fontconfig writes to.
std::string configuration(const fs::path& folder, const Plan& plan) {
    const fs::path faces = folder / "faces";
    std::string text =
        "<?xml version=\"1.0\"?>\n<!DOCTYPE fontconfig SYSTEM \"urn:fontconfig:fonts.dtd\">\n<fontconfig>\n";
    text += "<cachedir>" + escaped(folder / "cache") + "</cachedir>\n";
    if (!plan.eastAsian.empty())
        text += patternRules(plan.eastAsian);   // before the system's, which go by the language
    text +=
        plan.base + "<dir>" + escaped(faces) + "</dir>\n" +
        rule("scan", ofFiles(faces / ""), assign("fontversion", "<plus><name>fontversion</name><int>1</int></plus>"));
    for (std::size_t i = 0; i < plan.eastAsian.size(); ++i)
        text += portionRules(faces / portionPrefix(i), plan.eastAsian[i].languages);
    return text + "</fontconfig>\n";
}

// Lists the faces once for all; the engine, which may not write here, would do it at every start.
void fillCache(const fs::path& configurationFile) {
    const ConfigPtr config(FcConfigCreate());
    if (FcConfigParseAndLoad(config.get(), fcText(configurationFile.c_str()), FcTrue)) FcConfigBuildFonts(config.get());
}

// The same outlines, advances and layout rules in half the size or less: the engine packs a font anew for each page,
// which takes it longer than everything else. Not where it is not worth while, or not safe.
void makeTextFonts(const fs::path& faces, const std::set<fs::path>& textFonts) {
    const auto characters = fonts::charactersIn(textRanges);
    int number = 0;   // files of one name may come from several folders
    for (const auto& font : textFonts) {
        const auto bytes = files::readWhole(font);
        const auto cut = fonts::FontCutter(bytes.chars(), 0).cut(characters);
        if (cut && cut->size() <= bytes.size() / 10 * 9)
            files::writeAtomically(faces / (std::to_string(++number) + ".ttf"), bytesOf(*cut));
    }
}

// A font for East Asian text is too large to be packed whole, and most have PostScript outlines, which the engine
// packs as drawings: such a mail took twice the room and three times the time.
void makePortions(const fs::path& faces, const std::vector<fonts::PortionedFace>& eastAsian) {
    std::map<fs::path, Bytes> fileBytes;   // several faces are in one
    std::vector<std::future<void>> work;   // waits for its end when it goes
    for (std::size_t i = 0; i < eastAsian.size(); ++i) {
        const auto& face = eastAsian[i];
        if (!fileBytes.contains(face.file)) fileBytes[face.file] = files::readWhole(face.file);
        work.push_back(
            std::async(std::launch::async, [&face, start = faces / portionPrefix(i), bytes = fileBytes[face.file]] {
                const fonts::FontCutter cutter(bytes.chars(), static_cast<unsigned>(face.index));
                int number = 0;
                for (const auto& characters : fonts::portionsOf(face.kinds))
                    if (const auto cut = cutter.cutPortion(characters))
                        files::writeAtomically(start.string() + std::to_string(++number) + ".ttf", bytesOf(*cut));
            }));
    }
    for (auto& each : work) each.get();
}

// Beside the place, then renamed to it: whoever sees the folder sees all of it.
void make(const fs::path& folder, const Plan& plan) {
    std::string name = folder.string() + ".XXXXXX";
    if (!mkdtemp(name.data())) throw FileError::writing(name, std::error_code(errno, std::generic_category()));
    try {
        const fs::path unfinished = name;
        files::createFolders(unfinished / "faces");
        files::createFolders(unfinished / "cache");
        makeTextFonts(unfinished / "faces", plan.textFonts);
        makePortions(unfinished / "faces", plan.eastAsian);
        files::writeAtomically(unfinished / "fonts.conf", bytesOf(configuration(folder, plan)));
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

std::nullopt_t failed(const std::string& reason) {
    engineLog::note("the fonts cannot be reduced: " + reason);
    return std::nullopt;
}

std::optional<fs::path>& provided() {
    static std::optional<fs::path> folder;
    return folder;
}

}   // namespace

std::optional<fs::path> folderIn(const fs::path& cache) {
    const ConfigPtr config(FcConfigReference(nullptr));   // what this program uses, loaded here if nobody has yet
    const std::unique_ptr<FcChar8, Releaser<FcStrFree>> system(FcConfigGetFilename(config.get(), nullptr));
    if (!config || !system) return failed("fontconfig has no configuration");
    const auto plan = planFor(config.get(), plainText(system.get()));
    const auto folder = cache / "ostrel" / (std::string(namePrefix) + keyOf(plan));
    const auto isThere = [&] { return files::isRegularFile(folder / "fonts.conf"); };
    try {
        if (!isThere()) {
            files::createFolders(folder.parent_path());
            make(folder, plan);
            removeOld(folder.parent_path());
        }
    } catch (const std::exception& error) {
        // Another program may have been faster.
        if (!isThere()) return failed(error.what());
    }
    if (!isThere()) return failed("their configuration is missing");
    std::error_code ignored;
    fs::last_write_time(folder, fs::file_time_type::clock::now(), ignored);
    return folder;
}

void provide(const fs::path& cache, const fs::path& fallback) {
    using namespace overrides;
    if (!isWanted(Override::reducedFonts)) return;
    constexpr const char* chosen = "FONTCONFIG_FILE";
    if (std::getenv(chosen) != nullptr)
        return report(Override::reducedFonts, Effect::notNeeded, "FONTCONFIG_FILE names the fonts to use");
    provided() = folderIn(cache);   // loads the system's fonts, with which this program itself stays
    if (!provided()) provided() = folderIn(fallback);
    if (!provided()) return report(Override::reducedFonts, Effect::missing, "they cannot be made");
    environment::set(chosen, *provided() / "fonts.conf");
}

const std::optional<fs::path>& providedFolder() { return provided(); }

}   // namespace ostrel::reducedFonts
