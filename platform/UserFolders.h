#pragma once

#include <filesystem>
#include <vector>

// The user's folders, whether they are there or not (XDG Base Directory 0.8: a variable that names no absolute path
// does not count).
namespace ostrel {

// $HOME, else the password database's.
std::filesystem::path homeFolder();
// $XDG_CONFIG_HOME, else ~/.config.
std::filesystem::path configFolder();
// $XDG_CACHE_HOME, else ~/.cache.
std::filesystem::path cacheFolder();
// $XDG_DATA_HOME, else ~/.local/share, followed by the system's: $XDG_DATA_DIRS, else /usr/local/share and /usr/share.
// The most important one is first.
std::vector<std::filesystem::path> dataFolders();

}   // namespace ostrel
