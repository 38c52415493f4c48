#include "pdf/content/LateData.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace ostrel::pdf {
namespace {

std::size_t hashOf(const std::vector<ByteView>& pieces) {
    std::size_t hash = 0;
    for (const auto piece : pieces) hash = hash * 31 + std::hash<std::string_view>()(charsOf(piece));
    return hash;
}

// Same pieces: data that are cut elsewhere count as others, which costs no more than their bytes.
bool areSame(const std::vector<ByteView>& a, const std::vector<ByteView>& b) {
    return std::ranges::equal(a, b, [](ByteView x, ByteView y) { return charsOf(x) == charsOf(y); });
}

}   // namespace

void LateData::give(QPDFObjectHandle stream, std::vector<ByteView> pieces, QPDFObjectHandle filter,
                    QPDFObjectHandle parameters) {
    const auto hash = hashOf(pieces);
    const auto [begin, end] = byHash_.equal_range(hash);
    const auto twin =
        std::find_if(begin, end, [&](const auto& known) { return areSame(entries_[known.second].pieces, pieces); });
    const auto first = twin == end ? entries_.size() : twin->second;
    if (twin == end) byHash_.emplace(hash, first);
    Entry entry{stream, "data " + std::to_string(hash) + " " + std::to_string(first), std::move(pieces)};
    for (const auto piece : entry.pieces) entry.size += piece.size();
    stream.replaceStreamData(entry.mark, filter, parameters);
    entries_.push_back(std::move(entry));
}

void LateData::settle() {
    for (auto& [stream, mark, pieces, size] : entries_) {
        std::string data;
        for (const auto piece : pieces) data += charsOf(piece);
        auto dict = stream.getDict();
        stream.replaceStreamData(data, dict.getKey("/Filter"), dict.getKey("/DecodeParms"));
    }
    entries_.clear();
}

}   // namespace ostrel::pdf
