#include "core/page/PictureAddresses.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace ostrel {
namespace {

constexpr std::size_t npos = std::string_view::npos;
using Address = PagePicture::Address;

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// Walks over the elements of a page (HTML §13.2.5) as far as it takes to tell where an address stands. It need not be
// exact: what it takes for something else stays as it is.
class Walk {
public:
    Walk(std::string_view html, const std::vector<Address>& addresses)
        : html_(html), addresses_(addresses), uses_(addresses.size()) {}

    std::vector<AddressUse> uses() {
        while (at_ < html_.size()) {
            at_ = std::min(html_.find('<', at_), html_.size());
            skipTo(at_);
            if (html_.substr(at_, 4) == "<!--")
                passBy("-->");
            else if (at_ + 1 < html_.size() && isLetter(html_[at_ + 1]))
                element();
            else
                ++at_;
        }
        return isAskedFor_ ? std::vector<AddressUse>(addresses_.size()) : uses_;
    }

private:
    // No address before this place is of interest.
    void skipTo(std::size_t place) {
        while (next_ < addresses_.size() && addresses_[next_].begin < place) ++next_;
    }

    void passBy(std::string_view end) {
        const auto found = html_.find(end, at_);
        at_ = found == npos ? html_.size() : found + end.size();
    }

    void element() {
        const auto begin = ++at_;
        while (at_ < html_.size() && !isSpace(html_[at_]) && html_[at_] != '>' && html_[at_] != '/') ++at_;
        const auto tag = text::lowerASCII(html_.substr(begin, at_ - begin));
        while (at_ < html_.size() && html_[at_] != '>') attribute(tag);
        ++at_;
        if (tag == "style") styles();
        constexpr std::array<std::string_view, 8> texts = {"title",  "textarea", "script",   "xmp",
                                                           "iframe", "noembed",  "noframes", "plaintext"};
        if (std::ranges::find(texts, tag) != texts.end()) at_ = endTag(tag);
    }

    std::size_t endTag(std::string_view tag) const {
        for (auto at = html_.find("</", std::min(at_, html_.size())); at != npos; at = html_.find("</", at + 1))
            if (text::lowerASCII(html_.substr(at + 2, tag.size())) == tag) return at;
        return html_.size();
    }

    void attribute(std::string_view tag) {
        if (isSpace(html_[at_]) || html_[at_] == '/') {
            ++at_;
            return;
        }
        const auto begin = at_++;
        while (at_ < html_.size() && !isSpace(html_[at_]) && html_[at_] != '>' && html_[at_] != '/' &&
               html_[at_] != '=')
            ++at_;
        const auto name = text::lowerASCII(html_.substr(begin, at_ - begin));
        if (name == "shadowrootmode") isAskedFor_ = true;   // scripts do not find what is in there
        auto value = at_;
        while (value < html_.size() && isSpace(html_[value])) ++value;
        if (value >= html_.size() || html_[value] != '=') return;
        ++value;
        while (value < html_.size() && isSpace(html_[value])) ++value;
        if (value >= html_.size()) {
            at_ = value;
            return;
        }
        const char quote = html_[value];
        const bool isQuoted = quote == '"' || quote == '\'';
        at_ = isQuoted ? html_.find(quote, value + 1) : html_.find_first_of(" \t\r\n\f>", value);
        at_ = std::min(at_, html_.size());
        skipTo(value);
        for (; next_ < addresses_.size() && addresses_[next_].begin < at_; ++next_)
            uses_[next_] = name == "style" ? useInStyle(addresses_[next_].begin)
                                           : useInAttribute(tag, name, addresses_[next_], at_);
        if (isQuoted && at_ < html_.size()) ++at_;
    }

    // Densities and widths behind an address change the size of a picture and not that of a drawing; and a picture in a
    // drawing keeps its shape where a drawing is stretched.
    AddressUse useInAttribute(std::string_view tag, std::string_view name, const Address& address,
                              std::size_t end) const {
        if (name == "background") return AddressUse::background;
        const auto isAlone = [&] {   // also when what follows was taken for a part of it
            const auto rest = html_.substr(address.begin, end - address.begin);
            return rest.find_first_of(" \t\r\n\f") == npos;
        };
        const bool isImage = name == "src"      ? tag == "img" || tag == "input"
                             : name == "srcset" ? (tag == "img" || tag == "source") && isAlone()
                                                : false;
        return isImage ? AddressUse::image : AddressUse::other;
    }

    // url( and perhaps a quote stand before it.
    AddressUse useInStyle(std::size_t at) const {
        constexpr std::size_t most = 16;
        auto before = html_.substr(at - std::min(at, most), std::min(at, most));
        const auto trim = [&] {
            while (!before.empty() && isSpace(before.back())) before.remove_suffix(1);
        };
        trim();
        for (const std::string_view quote : {"\"", "'", "&quot;", "&#39;", "&#34;", "&apos;"}) {
            if (!before.ends_with(quote)) continue;
            before.remove_suffix(quote.size());
            break;
        }
        trim();
        return text::lowerASCII(before).ends_with("url(") ? AddressUse::background : AddressUse::other;
    }

    void styles() {
        const auto end = endTag("style");
        for (; next_ < addresses_.size() && addresses_[next_].begin < end; ++next_) {
            askFor(at_, addresses_[next_].begin);
            uses_[next_] = useInStyle(addresses_[next_].begin);
            at_ = addresses_[next_].begin + addresses_[next_].size;
        }
        askFor(at_, end);
        at_ = end;
    }

    // [src^="data:image/png"]
    void askFor(std::size_t from, std::size_t to) {
        const auto text = html_.substr(std::min(from, to), to - std::min(from, to));
        for (auto at = text.find('='); at != npos; at = text.find('=', at + 1)) {
            auto value = text.substr(at + 1, 12);
            while (!value.empty() && (isSpace(value.front()) || value.front() == '"' || value.front() == '\''))
                value.remove_prefix(1);
            const auto begin = text::lowerASCII(value);
            if (begin.starts_with("data:") || begin.starts_with("image/")) isAskedFor_ = true;
        }
    }

    std::string_view html_;
    const std::vector<Address>& addresses_;
    std::vector<AddressUse> uses_;
    std::size_t at_ = 0, next_ = 0;
    bool isAskedFor_ = false;
};

}   // namespace

std::vector<AddressUse> addressUses(std::string_view html, const std::vector<Address>& addresses) {
    return Walk(html, addresses).uses();
}

}   // namespace ostrel
