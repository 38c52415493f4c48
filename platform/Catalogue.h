#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>

namespace ostrel {

// The texts of one file in the GNU .mo format (manual of GNU gettext, "The Format of GNU MO Files"). The C library
// reads such files itself, but only those of the locale's language.
class Catalogue {
public:
    // Empty where there is no such file, or one that cannot be read or is damaged.
    static Catalogue read(const std::filesystem::path& file);
    // The text for the key, or the form of that number where it has more than one (of texts with fewer, the last);
    // null where the file has none. Lives as long as this.
    const char* text(std::string_view key, std::size_t form = 0) const;

private:
    std::unordered_map<std::string, std::string> texts_;   // forms behind each other, a NUL after each
};

}   // namespace ostrel
