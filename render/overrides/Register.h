#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Everything that Ostrel puts in the place of others' functions, drivers, files and settings so that the engine prints
// fast, stays small and does not end the program. README.md in this folder is written from this register.
namespace ostrel::overrides {

enum class Override {
    storedStreams,
    reducedFonts,
    noDrawing,
    fewArenas,
    noCompiler,
    noServices,
    engineStarts,
    pageSetup,
    engineHome,
    privateDisplay,
    noSandbox,
};

struct Entry {
    Override which;
    std::string_view name;       // in OSTREL_WITHOUT, in the log and in ostrel-inspect
    std::string_view replaces;   // functions, files, environment variables
    std::string_view seenWith;   // libraries and versions with which it was seen to work
    std::string_view cures;      // what happens without it
    std::string_view test;       // fails when it no longer works or is no longer needed
    bool isOptional = true;      // Ostrel also runs without it
};

// Returns every entry, in the order of the enumeration.
std::span<const Entry> all();
const Entry& entry(Override which);

// False if the environment variable OSTREL_WITHOUT, a list of names separated by commas, takes the override away. What
// is not optional stays. The variable is read once. From any thread.
bool isWanted(Override which);

enum class Effect {
    notSeen,     // in place, but nothing has shown yet that it works
    active,      // seen to work
    notNeeded,   // this system does without
    missing,     // could not be put in place, or does not work; the status says why
    takenAway,   // by OSTREL_WITHOUT
};
std::string_view nameOf(Effect effect);

struct Status {
    Override which = {};
    Effect effect = Effect::notSeen;
    std::string reason{};   // of missing and notNeeded; a sentence without its full stop
};

// Says what became of an override; the log gets a line when one turns out to be missing. From any thread.
void report(Override which, Effect effect, const std::string& reason = {});
// The same for active, without locks or memory: for functions that stand in for those of others.
void reportActive(Override which) noexcept;
// Writes to the log which overrides are taken away, and which names in OSTREL_WITHOUT are none. Once, at the start.
void logTakenAway();

// Returns the status of every override, in the order of the enumeration.
std::vector<Status> statuses();

}   // namespace ostrel::overrides
