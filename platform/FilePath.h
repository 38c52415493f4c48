#pragma once

#include <filesystem>
#include <string>
#include <utility>

namespace ostrel {

// The path of a file in one string, as the bytes the system knows it by. A std::filesystem::path keeps every component
// as well: a dozen allocations, which for a hundred thousand files cost more than reading them.
class FilePath {
public:
    FilePath() = default;
    FilePath(std::string bytes) : bytes_(std::move(bytes)) {}
    FilePath(const char* bytes) : bytes_(bytes) {}
    FilePath(const std::filesystem::path& path) : bytes_(path.native()) {}

    const std::string& native() const { return bytes_; }
    operator std::filesystem::path() const { return bytes_; }
    std::filesystem::path filename() const { return std::filesystem::path(*this).filename(); }

    bool operator==(const FilePath&) const = default;

private:
    std::string bytes_;
};

}   // namespace ostrel
