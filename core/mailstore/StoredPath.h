#pragma once

#include "core/mailstore/Shared.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace ostrel {

// The path of a message file, as the bytes the system knows it by. The files of one folder share its text, which is
// most of the path.
class StoredPath {
public:
    StoredPath() = default;
    StoredPath(const std::string& bytes);
    StoredPath(const std::filesystem::path& path) : StoredPath(path.native()) {}
    // folder: ends with a slash.
    StoredPath(Shared<std::string> folder, std::string_view name);

    std::string native() const { return *folder_ + name_; }
    operator std::filesystem::path() const { return native(); }
    std::filesystem::path filename() const { return name_; }

    bool operator==(const StoredPath&) const = default;

private:
    Shared<std::string> folder_;   // to its last slash
    std::string name_;             // holds none
};

}   // namespace ostrel
