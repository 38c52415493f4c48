#include "platform/Bytes.h"

#include <algorithm>

namespace ostrel {

Bytes::Bytes(std::string content) {
    if (content.empty()) return;
    auto owner = std::make_shared<const std::string>(std::move(content));
    view_ = bytesOf(*owner);
    owner_ = std::move(owner);
}

Bytes Bytes::copyOf(ByteView content) { return Bytes(std::string(charsOf(content))); }

Bytes Bytes::slice(std::size_t offset, std::size_t count) const {
    Bytes part;
    const std::size_t start = std::min(offset, size());
    part.view_ = view_.subspan(start, std::min(count, size() - start));
    if (!part.view_.empty()) part.owner_ = owner_;
    return part;
}

}   // namespace ostrel
