#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Exact searches that stay linear in text and patterns together, whatever a sender put into either.
namespace ostrel::textSearch {

// For each pattern whether it occurs in the text, in one pass over the text (Aho and Corasick, 1975). Compares bytes.
std::vector<bool> occurrences(std::string_view text, const std::vector<std::string>& patterns);

// The start of every occurrence of the pattern, overlapping ones too, in order (Knuth, Morris and Pratt, 1977). An
// empty pattern occurs nowhere.
std::vector<std::size_t> positions(std::string_view text, std::string_view pattern);

}   // namespace ostrel::textSearch
