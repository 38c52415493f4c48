#pragma once

#include <string>
#include <string_view>

namespace ostrel::html {

// The text of an HTML fragment as it is read: UTF-8, white space made one blank outside of pre, a line for each
// block, tabs between the cells of a row. Comments, style sheets, scripts and titles are left out, references resolved.
// Never fails; linear.
std::string textOf(std::string_view fragment);

}   // namespace ostrel::html
