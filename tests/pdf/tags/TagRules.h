#pragma once

#include <string>
#include <vector>

namespace ostrel::test {

// Returns what is wrong with the tags of a finished file (ISO 32000-1 §14.7): something painted that is neither read
// nor an artifact, marked content that no element has or that two have, links without an element; and if it says that
// it is PDF/UA-1 (ISO 14289-1), which of its rules it breaks. Nothing for a file without tags.
std::vector<std::string> brokenTagRules(const std::string& pdf);

}   // namespace ostrel::test
