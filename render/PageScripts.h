#pragma once

#include <string_view>

// What is run in the loaded page, in a world of its own that the page cannot see.
namespace ostrel::pageScripts {

// Makes the page on the screen lay out as it will in print, and gives the width of its content in CSS pixels.
extern const std::string_view prepareAndMeasure;

}   // namespace ostrel::pageScripts
