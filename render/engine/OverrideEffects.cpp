#include "render/engine/OverrideEffects.h"

#include "platform/Environment.h"
#include "platform/Files.h"
#include "render/engine/ReducedFonts.h"
#include "render/engine/WebProcess.h"
#include "render/overrides/Register.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel::overrideEffects {
namespace {

using overrides::Effect;
using overrides::isWanted;
using overrides::Override;
using overrides::report;

void lookAtStreams(ByteView printed) {
    if (hasPackedStreams(printed))
        report(Override::storedStreams, Effect::missing, "the engine has packed what it printed");
    else
        report(Override::storedStreams, Effect::active);
}

// A page may need none of the reduced fonts.
void lookAtFonts(ByteView printed) {
    const auto& folder = reducedFonts::providedFolder();
    const auto sizes = fontSizes(printed);
    if (!folder || sizes.empty()) return;
    bool isReduced = false;
    for (const auto& face : files::list(*folder / "faces"))
        isReduced = isReduced || sizes.contains(files::size(*folder / "faces" / face).value_or(0));
    if (isReduced)
        report(Override::reducedFonts, Effect::active);
    else
        report(Override::reducedFonts, Effect::missing, "the page has whole fonts only");
}

void lookAtDriver(pid_t process) {
    const std::string maps = webProcess::mapsOf(process);
    if (maps.empty()) return;
    for (const char* part : {"_dri.so", "libgallium", "libLLVM"}) {
        if (maps.find(part) == std::string::npos) continue;
        return report(Override::noDrawing, Effect::missing, std::string("the engine has loaded ") + part);
    }
    if (maps.find("libostrel-no-drawing") != std::string::npos)
        report(Override::noDrawing, Effect::active);
    else
        report(Override::noDrawing, Effect::notNeeded, "the engine has asked for no driver");
}

void lookAtEnvironment(pid_t process) {
    constexpr struct {
        Override which;
        const char* variable;
    } rows[] = {{Override::fewArenas, "MALLOC_ARENA_MAX"},
                {Override::noCompiler, "JSC_useBaselineJIT"},
                {Override::noServices, "GTK_A11Y"}};
    const auto theirs = webProcess::environmentOf(process);
    if (theirs.empty()) return;
    for (const auto& [which, variable] : rows) {
        const auto ours = environment::value(variable);
        if (!ours) continue;   // a program with windows
        if (std::ranges::find(theirs, variable + ("=" + *ours)) != theirs.end())
            report(which, Effect::active);
        else
            report(which, Effect::missing, "the engine’s process has another environment");
    }
}

}   // namespace

bool hasPackedStreams(ByteView printed) { return charsOf(printed).find("/FlateDecode") != std::string_view::npos; }

// ISO 32000-1, 9.9: /Length1 is the length of a TrueType font before it was packed.
std::set<std::uintmax_t> fontSizes(ByteView printed) {
    constexpr std::string_view key = "/Length1 ";
    const auto text = charsOf(printed);
    std::set<std::uintmax_t> sizes;
    for (auto at = text.find(key); at != text.npos; at = text.find(key, at + 1)) {
        std::uintmax_t size = 0;
        std::from_chars(text.data() + at + key.size(), text.data() + text.size(), size);
        sizes.insert(size);
    }
    return sizes;
}

void look(ByteView printed) {
    if (isWanted(Override::storedStreams)) lookAtStreams(printed);
    if (isWanted(Override::reducedFonts)) lookAtFonts(printed);
    const auto process = webProcess::current();
    if (!process) return;
    if (environment::value("__EGL_VENDOR_LIBRARY_FILENAMES")) lookAtDriver(*process);
    lookAtEnvironment(*process);
}

}   // namespace ostrel::overrideEffects
