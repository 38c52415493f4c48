#include "render/overrides/Register.h"

#include "platform/Environment.h"
#include "render/loop/Log.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <utility>

namespace ostrel::overrides {
namespace {

constexpr std::array entries{
    Entry{.which = Override::storedStreams,
          .name = "stored-streams",
          .replaces = "deflateInit_, deflateInit2_ and deflate of zlib in the engine's processes (LD_PRELOAD, "
                      "LD_LIBRARY_PATH)",
          .seenWith = "WebKitGTK 2.50.6 and zlib 1.2.13 (Debian 12); "
                      "WebKitGTK 2.54.0 and zlib 1.3.1 (Debian 13)",
          .cures = "The engine packs the fonts and pictures of each page whole, which takes it half of the time of a "
                   "page. All of it is unpacked again and most is thrown away when the page is finished.",
          .test = "EngineLibraries.HaveTheEngineStoreItsStreams"},
    Entry{.which = Override::reducedFonts,
          .name = "reduced-fonts",
          .replaces = "fontconfig's configuration of the system in the engine's processes (FONTCONFIG_FILE)",
          .seenWith = "WebKitGTK 2.50.6 and fontconfig 2.14.1 (Debian 12); "
                      "WebKitGTK 2.54.0 and fontconfig 2.15.0 (Debian 13)",
          .cures = "The engine embeds whole fonts in every page, and draws East Asian ones as outlines: pages take "
                   "half as long again and East Asian ones three times as long.",
          .test = "ReducedFontsPrinting.ReachTheEngine"},
    Entry{.which = Override::noDrawing,
          .name = "no-drawing",
          .replaces = "the system's EGL driver in programs without windows (__EGL_VENDOR_LIBRARY_FILENAMES, GDK_DEBUG "
                      "or GDK_DISABLE, "
                      "WEBKIT_DISABLE_DMABUF_RENDERER)",
          .seenWith = "WebKitGTK 2.50.6, GTK 4.8.3 and libglvnd 1.6.0 (Debian 12); "
                      "WebKitGTK 2.54.0, GTK 4.18.6 and libglvnd 1.7.0 (Debian 13)",
          .cures = "A driver and its compiler take 50 MB in the web process and 20 MB in ours, for nothing that is "
                   "printed.",
          .test = "EngineLibraries.HaveTheEngineLoadNoDriver"},
    Entry{.which = Override::fewArenas,
          .name = "few-arenas",
          .replaces = "the C library's thresholds for memory, ours and in the engine's processes (MALLOC_ARENA_MAX, "
                      "MALLOC_MMAP_THRESHOLD_, MALLOC_TRIM_THRESHOLD_)",
          .seenWith = "glibc 2.36 (Debian 12)",
          .cures = "What a large message took stays with the processes for good.",
          .test = "Printing.ShowsThatEveryOverrideTakesEffect"},
    Entry{.which = Override::noCompiler,
          .name = "no-compiler",
          .replaces = "the engine's compiler for scripts (JSC_useBaselineJIT)",
          .seenWith = "WebKitGTK 2.50.6 (Debian 12)",
          .cures = "It takes 8 MB and gains nothing in scripts of a few milliseconds.",
          .test = "Printing.ShowsThatEveryOverrideTakesEffect"},
    Entry{.which = Override::noServices,
          .name = "no-services",
          .replaces = "the desktop's services in programs without windows (GTK_A11Y, WEBKIT_A11Y_BUS_ADDRESS, "
                      "GSETTINGS_BACKEND, GIO_USE_VFS, GIO_USE_PORTALS, DBUS_SESSION_BUS_ADDRESS, "
                      "DBUS_SYSTEM_BUS_ADDRESS)",
          .seenWith = "GTK 4.8.3, GLib 2.74.6 and WebKitGTK 2.50.6 (Debian 12)",
          .cures = "Where there is no session, each of them is searched for, waited for or warned about.",
          .test = "Printing.ShowsThatEveryOverrideTakesEffect"},
    Entry{.which = Override::engineStarts,
          .name = "engine-starts",
          .replaces = "recvmsg of the C library, g_unix_connection_receive_credentials and "
                      "g_subprocess_wait_check_finish of GIO, for calls from the engine's library",
          .seenWith = "WebKitGTK 2.50.6 and GLib 2.74.6 (Debian 12); "
                      "WebKitGTK 2.54.0 and GLib 2.84.4 (Debian 13)",
          .cures = "The engine ends the whole program when one of its processes ends while it starts.",
          .test = "Printing.NeedsNoEngineForTheWords"},
    Entry{.which = Override::pageSetup,
          .name = "page-setup",
          .replaces = "gtk_page_setup_to_gvariant of GTK",
          .seenWith = "GTK 4.8.3 (Debian 12)",
          .cures = "GTK never lets go of what it makes of the paper, 2 KB for each page that is printed.",
          .test = "FilePrinter.KeepsNothingOfAPage"},
    Entry{.which = Override::engineHome,
          .name = "engine-home",
          .replaces = "the user's home in programs without windows, and a cache that cannot be written (HOME, "
                      "XDG_CACHE_HOME, XDG_CONFIG_HOME, XDG_DATA_HOME, XAUTHORITY, XDG_RUNTIME_DIR, WAYLAND_DISPLAY)",
          .seenWith = "WebKitGTK 2.50.6 and bubblewrap 0.8.0 (Debian 12)",
          .cures = "The engine fills the home with files that nobody reads, and ends the program where its sandbox "
                   "cannot be made of the user's folders.",
          .test = "ExportProgramTest.AHomeThatCannotBeWrittenDoesNotMatter",
          .isOptional = false},
    Entry{.which = Override::privateDisplay,
          .name = "private-display",
          .replaces = "a display, where there is none (DISPLAY)",
          .seenWith = "GTK 4.8.3 and Xvfb 21.1.7 (Debian 12)",
          .cures = "The toolkit does not start.",
          .test = "ExportProgramTest.TheSampleExportsWholeAndStaysUntouched",
          .isOptional = false},
    Entry{.which = Override::noSandbox,
          .name = "no-sandbox",
          .replaces = "the engine's sandbox, where the system allows none (WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS)",
          .seenWith = "WebKitGTK 2.50.6 and bubblewrap 0.8.0 (Debian 12)",
          .cures = "The engine ends the program.",
          .test = "EngineSandboxTest.WithoutBubblewrapTheEngineIsToldToGoOn",
          .isOptional = false},
};

constexpr std::size_t indexOf(Override which) { return static_cast<std::size_t>(which); }

constexpr bool isInOrder() {
    for (std::size_t i = 0; i < entries.size(); ++i)
        if (indexOf(entries[i].which) != i) return false;
    return true;
}
static_assert(isInOrder());

struct TakenAway {
    std::array<bool, entries.size()> isTaken{};
    std::vector<std::string> unknown;
};

const TakenAway& takenAway() {
    static const TakenAway read = [] {
        TakenAway found;
        const auto given = environment::value("OSTREL_WITHOUT").value_or("");
        for (std::string_view list = given; !list.empty();) {
            const auto name = list.substr(0, list.find(','));
            list.remove_prefix(std::min(name.size() + 1, list.size()));
            const auto named = std::ranges::find(entries, name, &Entry::name);
            if (named != entries.end() && named->isOptional)
                found.isTaken[indexOf(named->which)] = true;
            else
                found.unknown.emplace_back(name);
        }
        return found;
    }();
    return read;
}

struct Kept {
    std::mutex lock;   // of the statuses
    std::array<Status, entries.size()> statuses;
    std::array<std::atomic<bool>, entries.size()> isActive{};
};

Kept& kept() {
    static Kept& all = *new Kept;   // asked until the very end of the program
    return all;
}

}   // namespace

std::span<const Entry> all() { return entries; }

const Entry& entry(Override which) { return entries[indexOf(which)]; }

bool isWanted(Override which) { return !takenAway().isTaken[indexOf(which)]; }

std::string_view nameOf(Effect effect) {
    switch (effect) {
        case Effect::notSeen:
            return "notSeen";
        case Effect::active:
            return "active";
        case Effect::notNeeded:
            return "notNeeded";
        case Effect::missing:
            return "missing";
        case Effect::takenAway:
            return "takenAway";
    }
    return "";
}

void report(Override which, Effect effect, const std::string& reason) {
    const auto index = indexOf(which);
    const bool isNews = [&] {
        const std::lock_guard held(kept().lock);
        Status& status = kept().statuses[index];
        return std::exchange(status, Status{which, effect, reason}).effect != effect;
    }();
    if (effect == Effect::missing && isNews && isWanted(which))
        engineLog::note("without " + std::string(entries[index].name) + ": " + reason);
}

void reportActive(Override which) noexcept { kept().isActive[indexOf(which)].store(true, std::memory_order_relaxed); }

void logTakenAway() {
    for (const Entry& each : entries)
        if (!isWanted(each.which)) engineLog::note("without " + std::string(each.name) + ": taken away");
    for (const std::string& name : takenAway().unknown)
        engineLog::note("OSTREL_WITHOUT names " + name + ", which cannot be taken away");
}

std::vector<Status> statuses() {
    std::vector<Status> found;
    const std::lock_guard held(kept().lock);
    for (const Entry& each : entries) {
        const auto index = indexOf(each.which);
        Status status = kept().statuses[index];
        status.which = each.which;
        if (kept().isActive[index].load(std::memory_order_relaxed)) status = {each.which, Effect::active};
        if (!isWanted(each.which)) status = {each.which, Effect::takenAway};
        found.push_back(std::move(status));
    }
    return found;
}

}   // namespace ostrel::overrides
