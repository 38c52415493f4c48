#pragma once

#include <filesystem>
#include <vector>

// Where the mail folder of a Mac may lie on another computer: copied, on its disk, or in a backup of it.
namespace ostrel::MailPlaces {

// Folders to look in: the home, where its user keeps files, and whatever is mounted.
std::vector<std::filesystem::path> usual(const std::filesystem::path& home);

// The mail folders found, in the order of the places. Looks into the folders by name only where such a folder can be
// expected, and gives up after some thousands of them.
std::vector<std::filesystem::path> find(const std::vector<std::filesystem::path>& places);

}   // namespace ostrel::MailPlaces
