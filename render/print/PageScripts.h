#pragma once

#include <string>
#include <string_view>

// What is run in the loaded page, in a world of its own that the page cannot see. Both answer the width of the content
// in CSS pixels, the first then a line "rrggbb address" for each link that it marked, or "rrggbb@l,t,w,h,s address" for
// one that has this place within the box marked so: parts of the box from its left and top, and the box's width over
// its height.
namespace ostrel::pageScripts {

// Makes the page on the screen lay out as it will in print, measures it, and marks its links (http, https, mailto) for
// the print: each in a colour of its own, so faint that its fill is not seen. Marks change neither the layout nor what
// the mail's own rules apply to; what cannot be marked so stays unmarked.
extern const std::string prepareAndMeasure;

// For content that grows with the paper (a table 300% wide) or is far wider than any sheet (a log line of a megabyte):
// it is held to a fixed width and lines break.
extern const std::string_view squeezeAndMeasure;

}   // namespace ostrel::pageScripts
