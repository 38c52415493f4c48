#pragma once

#include "core/archive/ArchivedFile.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// The file SHA256SUMS, as sha256sum (GNU coreutils) writes it and as "sha256sum -c" checks it: a line for each file,
//
//   <64 hexadecimal digits>  <name>
//
// A name with a backslash, a line feed or a carriage return has these as \\, \n and \r, and a backslash before the
// line.
namespace ostrel::Sums {

void append(std::string& text, const ArchivedFile& file);

struct Content {
    std::vector<ArchivedFile> files;   // in the order of the lines; the last where a name comes twice counts
    std::size_t damagedLines = 0;      // those that are no line of this form, or name a file outside the archive
    bool operator==(const Content&) const = default;
};
// Never fails.
Content parse(std::string_view text);

}   // namespace ostrel::Sums
