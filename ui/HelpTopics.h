#pragma once

#include <string>
#include <vector>

namespace ostrel {

// One page of the help.
struct Topic {
    std::string id, title;
    const char* symbol;
    std::vector<std::string> paragraphs;
};

// In the order of the list, in the user's language.
std::vector<Topic> helpTopics();

}   // namespace ostrel
