#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel::pdf {

// Collects what is to be changed in one content, in any order, and then makes the new content in linear time.
class Rewriter {
public:
    // begin and end: bytes of the content as it was given.
    void cut(std::size_t begin, std::size_t end) { replace(begin, end, {}); }
    void insert(std::size_t at, std::string_view text) { replace(at, at, text); }
    void replace(std::size_t begin, std::size_t end, std::string_view text);

    bool isEmpty() const { return edits_.empty(); }

    // nullopt if two edits overlap or one is not within the content. Of several texts for one place the first given
    // comes first, and all come before what else begins there.
    std::optional<std::string> rewritten(std::string_view content);

private:
    struct Edit {
        std::size_t begin, end;
        std::size_t textBegin, textEnd;   // in texts_
    };
    std::vector<Edit> edits_;
    std::string texts_;
};

}   // namespace ostrel::pdf
