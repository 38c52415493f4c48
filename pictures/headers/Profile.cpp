#include "pictures/headers/Profile.h"

#include "pictures/headers/ByteReader.h"

#include <algorithm>
#include <array>

namespace ostrel::pictures {

// size(4) module(4) version(4) class(4) space(4) ... "acsp" at 36
bool isProfileFor(std::string_view space, std::string_view profile) {
    constexpr std::size_t headerBytes = 128, maxVersion = 4;
    constexpr std::array<std::string_view, 4> classes = {"scnr", "mntr", "prtr", "spac"};
    return profile.size() > headerBytes && number32(profile, 0) == profile.size() && byteAt(profile, 8) <= maxVersion &&
           std::ranges::find(classes, profile.substr(12, 4)) != classes.end() && profile.substr(16, 4) == space &&
           profile.substr(36, 4) == "acsp";
}

bool isSRGB(std::string_view profile) { return profile.find("sRGB IEC61966-2.1") != std::string_view::npos; }

}   // namespace ostrel::pictures
