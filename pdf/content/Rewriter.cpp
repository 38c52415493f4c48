#include "pdf/content/Rewriter.h"

#include <algorithm>
#include <utility>

namespace ostrel::pdf {

void Rewriter::replace(std::size_t begin, std::size_t end, std::string_view text) {
    edits_.push_back({begin, end, texts_.size(), texts_.size() + text.size()});
    texts_ += text;
}

std::optional<std::string> Rewriter::rewritten(std::string_view content) {
    const auto place = [](const Edit& edit) { return std::pair(edit.begin, edit.end); };
    if (!std::ranges::is_sorted(edits_, {}, place)) std::ranges::stable_sort(edits_, {}, place);
    std::string result;
    result.reserve(content.size() + texts_.size());
    std::size_t done = 0;
    for (const auto& edit : edits_) {
        if (edit.begin < done || edit.end < edit.begin || edit.end > content.size()) return std::nullopt;
        result += content.substr(done, edit.begin - done);
        result.append(texts_, edit.textBegin, edit.textEnd - edit.textBegin);
        done = edit.end;
    }
    return result += content.substr(done);
}

}   // namespace ostrel::pdf
