#pragma once

#include <string_view>

// What is run in the loaded page, in a world of its own that the page cannot see.
namespace ostrel::pageScripts {

// Makes the page on the screen lay out as it will in print, and gives the width of its content in CSS pixels.
extern const std::string_view prepareAndMeasure;

// For content that grows with the paper (a table 300% wide) or is far wider than any sheet (a log line of a megabyte):
// it is held to a fixed width and lines break. Gives the new width.
extern const std::string_view squeezeAndMeasure;

}   // namespace ostrel::pageScripts
