#include "core/page/PagePictures.h"

#include "core/message/TransferEncoding.h"
#include "core/page/HTMLMatchers.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace ostrel::html {

namespace {

using Address = PagePicture::Address;
constexpr std::size_t npos = std::string_view::npos;

// "data:image/TYPE[;PARAMETER]...;base64,PAYLOAD"
struct Written {
    Address address;
    std::string_view mediaType, payload;
};

// Looked up: a search for each character of a photograph among many takes longer than to decode it.
using CharacterSet = std::array<bool, 256>;
constexpr CharacterSet setOf(std::string_view characters) {
    CharacterSet set{};
    for (const char c : characters) set[static_cast<unsigned char>(c)] = true;
    return set;
}

// Where the word begins that tells in a srcset for which density or width an address is (HTML §4.8.4.2.1); `end`
// without one. What is before it must be a whole payload: the last line of a folded one may look the same.
std::size_t skipDescriptorBack(std::string_view html, std::size_t at, std::size_t end) {
    if (end == at || std::string_view("wxh").find(html[end - 1]) == npos) return end;
    std::size_t word = end - 1;
    while (word > at && ((html[word - 1] >= '0' && html[word - 1] <= '9') || html[word - 1] == '.')) --word;
    const std::size_t before = skipSpaceBack(html, at, word);
    if (word == end - 1 || before == word) return end;
    const auto payload = html.substr(at, before - at);
    const auto spaces = std::ranges::count_if(payload, [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); });
    const bool isWhole = payload.ends_with('=') || (payload.size() - static_cast<std::size_t>(spaces)) % 4 == 0;
    return isWhole ? before : end;
}

// Where the payload ends that begins at `at`, in an address that follows `opening`. Within quotes it may be folded.
// npos: it is written with escapes.
std::size_t payloadEnd(std::string_view html, std::size_t at, char opening) {
    static constexpr auto inQuotes = setOf("\"'()<>&\\%,"), bare = setOf("\"'()<>&\\%, \t\r\n\f");
    const bool isQuotedByName = opening == ';';   // &quot;
    const bool isQuoted = opening == '"' || opening == '\'' || isQuotedByName;
    const auto& ends = isQuoted ? inQuotes : bare;
    std::size_t end = at;
    while (end < html.size() && !ends[static_cast<unsigned char>(html[end])]) ++end;
    const char next = end < html.size() ? html[end] : '\0';
    if (next == '%' || next == '\\' || (next == '&' && !isQuotedByName)) return npos;
    end = skipSpaceBack(html, at, end);
    return isQuoted ? skipDescriptorBack(html, at, end) : end;
}

// The first at or after `from`.
std::optional<Written> nextWritten(std::string_view html, std::size_t from) {
    constexpr std::string_view scheme = "data", image = "data:image/", base64 = ";base64";
    for (from = html.find(':', from); from != npos; from = html.find(':', from + 1)) {
        const std::size_t begin = from - std::min(from, scheme.size());
        if (wordAt(html, begin, image) == npos) continue;
        const std::size_t comma = html.find_first_of(",\"'()<>&\\", from);
        if (comma == npos) return std::nullopt;
        const auto header = html.substr(from + 1, comma - from - 1);
        if (html[comma] != ',' || !text::lowerASCII(header).ends_with(base64)) continue;
        const std::size_t end = payloadEnd(html, comma + 1, begin == 0 ? '\0' : html[begin - 1]);
        if (end == npos) continue;
        return Written{
            {begin, end - begin}, header.substr(0, header.find(';')), html.substr(comma + 1, end - comma - 1)};
    }
    return std::nullopt;
}

class Collector {
public:
    explicit Collector(std::string_view html) : html_(html) {}

    // Returns its index.
    std::size_t add(PagePicture picture) {
        const auto [entry, isNew] = byBytes_.try_emplace(picture.bytes.chars(), pictures_.size());
        if (isNew) {
            pictures_.push_back(std::move(picture));
        } else {
            auto& addresses = pictures_[entry->second].addresses;
            addresses.insert(addresses.end(), picture.addresses.begin(), picture.addresses.end());
        }
        return entry->second;
    }

    // Adds those that the sender wrote between two places.
    void readBetween(std::size_t from, std::size_t to) {
        const auto part = html_.substr(0, to);
        for (auto found = nextWritten(part, from); found; found = nextWritten(part, from)) {
            from = found->address.begin + found->address.size;
            add(*found);
        }
    }

    std::vector<PagePicture> all() {
        for (auto& picture : pictures_) std::ranges::sort(picture.addresses, {}, &Address::begin);
        std::ranges::sort(pictures_, {}, [](const PagePicture& picture) { return picture.addresses.front().begin; });
        return std::move(pictures_);
    }

private:
    void add(const Written& written) {
        const auto known = byPayload_.find(written.payload);
        if (known != byPayload_.end()) return pictures_[known->second].addresses.push_back(written.address);
        Bytes bytes(TransferEncoding::base64(bytesOf(written.payload)));
        if (bytes.empty()) return;
        byPayload_.emplace(written.payload, add({std::string(written.mediaType), std::move(bytes), {written.address}}));
    }

    std::string_view html_;
    std::vector<PagePicture> pictures_;
    std::unordered_map<std::string_view, std::size_t> byBytes_, byPayload_;   // indexes of pictures_
};

}   // namespace

std::vector<PagePicture> picturesOf(std::string_view html, std::vector<PagePicture> known) {
    std::vector<Address> taken;
    for (const auto& picture : known) taken.insert(taken.end(), picture.addresses.begin(), picture.addresses.end());
    std::ranges::sort(taken, {}, &Address::begin);
    Collector pictures(html);
    for (auto& picture : known) pictures.add(std::move(picture));
    std::size_t from = 0;
    for (const auto& address : taken) {
        pictures.readBetween(from, address.begin);
        from = address.begin + address.size;
    }
    pictures.readBetween(from, html.size());
    return pictures.all();
}

}   // namespace ostrel::html
