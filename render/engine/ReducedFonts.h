#pragma once

#include <filesystem>
#include <optional>

// The engine packs every font that a page uses into its PDF whole, which takes longer than all the rest of printing, or
// draws its glyphs one by one when they have PostScript outlines, as those of most East Asian fonts, which takes room
// too. So it gets copies of the text fonts that print the same but are half the size, and of the East Asian ones as
// TrueType fonts in portions, kept in the user's cache, through a fontconfig configuration of their own; everything
// else comes from the system's fonts as before.
namespace ostrel::reducedFonts {

// Directs the programs that this process starts from now on, the engine's among them, to the reduced fonts, which it
// makes in the given cache when they are not there yet or the system's fonts have changed (a second, on two cores).
// Call it before there are other threads. False, and the system's fonts stay in use, whatever went wrong.
bool provide(const std::filesystem::path& cache);

// What the engine's sandbox must let it read; nothing when there are no reduced fonts.
const std::optional<std::filesystem::path>& providedFolder();

// The folder in the given cache with the reduced fonts ("faces") and their configuration ("fonts.conf"), made when it
// is not there. Any number of processes may ask at once. Nothing when it cannot be made.
std::optional<std::filesystem::path> folderIn(const std::filesystem::path& cache);

}   // namespace ostrel::reducedFonts
