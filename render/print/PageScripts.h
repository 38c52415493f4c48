#pragma once

#include <string>

// What is run in the loaded page, in a world of its own that the page cannot see. Both scripts return what
// PageMeasures.h reads. Their sources are in scripts/.
namespace ostrel::pageScripts {

// Makes the page on the screen lay out as it will in print, measures it, and marks its links (http, https, mailto) for
// the print: each in a colour of its own, so faint that its fill is not seen. Marks change neither the layout nor what
// the mail's own rules apply to; what cannot be marked so stays unmarked.
const std::string& prepareAndMeasure();

// For content that grows with the paper (a table 300% wide) or is far wider than any sheet (a log line of a megabyte):
// it is held to a fixed width and lines break.
const std::string& squeezeAndMeasure();

// Has the page laid out, what frames the mail enlarged by the factor if that is more than 1.
std::string layOut(double frameFactor);

}   // namespace ostrel::pageScripts
