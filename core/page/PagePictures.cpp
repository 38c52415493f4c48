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
    const auto isEnd = [&](std::size_t place) { return ends[static_cast<unsigned char>(html[place])]; };
    const auto areFourPlain = [&](std::size_t place) {   // one decision instead of four
        return !(isEnd(place) | isEnd(place + 1) | isEnd(place + 2) | isEnd(place + 3));
    };
    while (html.size() - end >= 4 && areFourPlain(end)) end += 4;
    while (end < html.size() && !isEnd(end)) ++end;
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

// Tells what was there before. Nothing is hashed as long as no other has its length, which saves reading every
// photograph twice more.
class Distinct {
public:
    // The number under which the text came first; this one if it is new. Texts must outlive it.
    std::size_t numberOf(std::string_view text, std::size_t number) {
        const auto [entry, isNew] = firstOfLength_.try_emplace(text.size(), First{text, number});
        if (isNew) return number;
        auto& first = entry->second;
        if (!std::exchange(first.isHashed, true)) byText_.emplace(first.text, first.number);
        return byText_.try_emplace(text, number).first->second;
    }

private:
    struct First {
        std::string_view text;
        std::size_t number;
        bool isHashed = false;
    };
    std::unordered_map<std::size_t, First> firstOfLength_;
    std::unordered_map<std::string_view, std::size_t> byText_;
};

class Collector {
public:
    explicit Collector(std::string_view html) : html_(html) {}

    // Returns its index.
    std::size_t add(PagePicture picture) {
        const auto index = bytes_.numberOf(picture.bytes.chars(), pictures_.size());
        if (index == pictures_.size()) {
            pictures_.push_back(std::move(picture));
        } else {
            auto& addresses = pictures_[index].addresses;
            addresses.insert(addresses.end(), picture.addresses.begin(), picture.addresses.end());
        }
        return index;
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
        const auto number = payloads_.numberOf(written.payload, indexes_.size());
        if (number < indexes_.size()) {
            if (const auto index = indexes_[number]) pictures_[*index].addresses.push_back(written.address);
            return;
        }
        Bytes bytes(TransferEncoding::base64(bytesOf(written.payload)));
        indexes_.push_back(
            bytes.empty() ? std::nullopt
                          : std::optional(add({std::string(written.mediaType), std::move(bytes), {written.address}})));
    }

    std::string_view html_;
    std::vector<PagePicture> pictures_;
    Distinct bytes_, payloads_;                         // by their indexes in pictures_ and indexes_
    std::vector<std::optional<std::size_t>> indexes_;   // of payloads in pictures_; nullopt: it holds nothing
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

namespace ostrel {

std::string wholeHTML(std::string_view html, const std::vector<PagePicture>& pictures) {
    struct Place {
        std::size_t end, picture;
    };
    std::vector<Place> places;
    std::vector<std::string> payloads(pictures.size());
    std::size_t size = html.size();
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        for (const auto& [begin, length, isOpen] : pictures[i].addresses) {
            if (!isOpen) continue;
            if (payloads[i].empty()) payloads[i] = TransferEncoding::encodeBase64(pictures[i].bytes.view());
            places.push_back({begin + length, i});
            size += payloads[i].size();
        }
    }
    std::ranges::sort(places, {}, &Place::end);
    std::string whole;
    whole.reserve(size);
    std::size_t done = 0;
    for (const auto& [end, picture] : places) {
        whole.append(html, done, end - done).append(payloads[picture]);
        done = end;
    }
    return whole.append(html, done);
}

}   // namespace ostrel
