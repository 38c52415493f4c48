#pragma once

#include <filesystem>
#include <optional>

// The engine packs every font that a page uses into its PDF whole, which takes longer than all the rest of printing, or
// draws its glyphs one by one when they have PostScript outlines, as those of most East Asian fonts, which takes room
// too. So it gets copies of the text fonts that print the same but are half the size, and of the East Asian ones as
// TrueType fonts in portions, kept in the user's cache, through a fontconfig configuration of their own; everything
// else comes from the system's fonts as before.
namespace ostrel::reducedFonts {

// Directs the programs that this process starts from now on, the engine's among them, to the reduced fonts. They are
// made in the cache, or in the fallback if that is impossible, when they are not there yet or the system's fonts have
// changed (a second, on two cores). Whatever goes wrong, the system's fonts stay in use and the log says why. Call it
// before there are other threads.
void provide(const std::filesystem::path& cache, const std::filesystem::path& fallback);

// Returns what the engine's sandbox must let it read; nullopt if there are no reduced fonts.
const std::optional<std::filesystem::path>& providedFolder();

// Returns the folder in the given cache with the reduced fonts ("faces") and their configuration ("fonts.conf"), made
// when it is not there; nullopt if it cannot be made. Any number of processes may ask at once.
std::optional<std::filesystem::path> folderIn(const std::filesystem::path& cache);

}   // namespace ostrel::reducedFonts
