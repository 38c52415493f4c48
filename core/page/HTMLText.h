#pragma once

#include <string>
#include <string_view>

namespace ostrel::html {

// Returns the text of an HTML fragment as it is read: UTF-8, runs of white space one blank except in pre, a line for
// each block, tabs between the cells of a row. Comments, style sheets, scripts and titles are left out.
// Never fails; linear.
std::string textOf(std::string_view fragment);

}   // namespace ostrel::html
