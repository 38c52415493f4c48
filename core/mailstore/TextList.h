#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ostrel {

// Short texts in one piece of memory: each in one of its own takes twice as much.
class TextList {
public:
    TextList() = default;
    TextList(const std::vector<std::string>& texts);

    // In order. They live as long as this.
    std::vector<std::string_view> texts() const;

    bool operator==(const TextList&) const = default;

private:
    std::string bytes_;   // the size of each text, as the machine writes numbers, and the text
};

}   // namespace ostrel
