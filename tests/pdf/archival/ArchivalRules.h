#pragma once

#include <string>
#include <vector>

namespace ostrel::test {

// Returns which rules of PDF/A-2u (ISO 19005-2) a finished file breaks, of those that finishing could break: "6.3.2: a
// link is not printed". Nothing for a file that does not claim to keep them.
std::vector<std::string> brokenArchivalRules(const std::string& pdf);

}   // namespace ostrel::test
