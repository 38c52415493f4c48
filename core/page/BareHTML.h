#pragma once

#include <string>
#include <string_view>

namespace ostrel::html {

// Returns an HTML fragment with its text, its paragraphs, lists, tables and links, and nothing else: no styles, no
// pictures, no other element or attribute. Never fails; linear.
std::string bare(std::string_view fragment);

}   // namespace ostrel::html
