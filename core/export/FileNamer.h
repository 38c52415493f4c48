#pragma once

#include "platform/Time.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace ostrel {

// Makes names for the files of one folder: valid on every disk, within 180 bytes, each unique (letter case ignored).
class FileNamer {
public:
    static constexpr std::size_t maxBytes = 180;

    explicit FileNamer(const std::vector<std::string>& taken = {});

    // Characters that some disks do not allow become blanks, blanks are single, leading dots and hyphens and trailing
    // dots go. May give an empty text.
    static std::string safe(std::string_view text);
    // Cut between user-perceived characters to fit the UTF-8 bytes, then without blanks, dots and hyphens at the ends;
    // a text that fits is returned as it is.
    static std::string truncate(std::string_view text, std::size_t bytes);
    // "2024-03-05 0907 Kim Sender - Quarterly figures", without extension.
    static std::string messageBase(Instant date, std::string_view from, std::string_view subject,
                                   std::string_view noSubject, const Calendar& calendar);

    // A complete name not used before in this folder, now recorded: "Report.pdf", then "Report (2).pdf". ext is without
    // dot.
    std::string unique(std::string_view base, std::string_view ext);
    // The same for a whole file name, as an attachment carries it.
    std::string uniqueFileName(std::string_view fileName);
    // Takes a name that unique(base, "") gave in an earlier run, and with it the numbers it gave before.
    void giveAgain(std::string_view base, const std::string& name);

private:
    // The base as unique() uses it, for an extension of so many bytes.
    static std::string stemOf(std::string_view base, std::size_t extensionBytes);
    std::size_t& nextNumber(const std::string& stem, const std::string& extension);

    std::unordered_set<std::string> used_;   // lower-cased
    // The number to try next for a name, by its lower-cased base and extension: a thousand messages of one name must
    // not each try all the numbers before theirs.
    std::unordered_map<std::string, std::size_t> nextNumber_;
};

}   // namespace ostrel
