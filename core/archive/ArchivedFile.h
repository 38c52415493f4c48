#pragma once

#include "platform/SHA256.h"

#include <string>
#include <string_view>

namespace ostrel {

// One file of an archive as it was written.
struct ArchivedFile {
    std::string name;   // below the archive's folder: "A.pdf", "A/photo.jpg"
    Digest digest{};
    bool operator==(const ArchivedFile&) const = default;
};

// An archive can come from anybody. True for a name that no folder can mistake for another place: not empty, ".", ".."
// or longer than a disk takes, without slash and NUL.
bool isPlainName(std::string_view name);
// True for a plain name, or two with a slash between them: nothing in an archive lies deeper.
bool isArchiveName(std::string_view name);

}   // namespace ostrel
