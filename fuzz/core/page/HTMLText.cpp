#include "core/page/HTMLText.h"

#include "core/page/BareHTML.h"
#include "core/page/PagePictures.h"
#include "core/page/PictureAddresses.h"
#include "fuzz/Target.h"
#include "platform/Text.h"

#include <algorithm>

namespace ostrel::fuzz {
namespace {

// A text as a page may write it: its own signs, references, elements within it.
enum class Writing { plain, references, elements };

std::string written(std::string_view text, Writing writing) {
    std::string html;
    for (std::size_t at = 0; at < text.size();) {
        const auto [c, length] = text::decodeAt(text, at);
        const bool isMarkup = c == U'<' || c == U'>' || c == U'&';
        const bool isTold = c > 0x9F || (c > 0x20 && c < 0x7F);   // by its number; others stand for something else
        if (isTold && (isMarkup || writing == Writing::references))
            html += "&#" + std::to_string(static_cast<std::uint32_t>(c)) + ";";
        else
            html += text.substr(at, length);
        if (writing == Writing::elements) html += "<b title='>'>";
        at += length;
    }
    return html;
}

// What stands where pictures are named is not read.
void picturesAway(const std::string& html) {
    std::vector<PagePicture::Address> addresses;
    for (const auto& picture : html::picturesOf(html))
        addresses.insert(addresses.end(), picture.addresses.begin(), picture.addresses.end());
    std::ranges::sort(addresses, {}, &PagePicture::Address::begin);
    const auto uses = addressUses(html, addresses);
    holds(uses.size() == addresses.size(), "every address has a use");
    std::string without;
    std::size_t done = 0;
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        const auto& address = addresses[i];
        if (uses[i] == AddressUse::other) continue;
        without += html.substr(done, address.begin - done) + "data:,x";
        done = address.begin + address.size;
    }
    without += html.substr(done);
    holds(html::textOf(without) == html::textOf(html), "a picture is no text");
}

}   // namespace

void run(ByteView input) {
    const std::string html = text::toValidUTF8(charsOf(input));
    isValidText(html::textOf(html), "a page's text");
    const auto bare = html::bare(html);
    holds(html::bare(bare) == bare, "what is bare stays as it is");
    const auto plain = html::textOf(written(html, Writing::plain));
    holds(html::textOf(written(html, Writing::references)) == plain, "a text is the same in references");
    holds(html::textOf(written(html, Writing::elements)) == plain, "a text is the same through elements");

    picturesAway(html);
    for (const auto& picture : html::picturesOf(html)) {
        holds(!picture.addresses.empty(), "a picture has an address");
        std::size_t end = 0;
        for (const auto& [begin, size, isOpen] : picture.addresses) {
            holds(begin >= end && begin + size <= html.size(), "addresses stand on the page, one after the other");
            end = begin + size;
            holds(picture.bytes.size() <= size && !isOpen, "a picture comes from its address");
        }
    }
}

std::vector<std::string> seeds() {
    return {"<p title='\u0939>'>\u0939\u093f\u0928&#x94d;&#2342;&zwj;\u0940 </p><!-- x --><style>\u0939</style>\u0e01",
            "<title>x</title>1\ufe0f\u20e3 \U0001f469&zwj;\U0001f468 \u05d0 &#128105;<b>\U0001f1e9</b>\U0001f1ea",
            "<table><tr><td>a<td>b<pre> c\n d</pre></table><ul><li>e &amp f<br>g</ul><script>'<b>'</script>h",
            "<img src=\"data:image/png;base64,iVBORw0KGgo=\"><i style='background:url(data:image/jpg;base64,/9j/BB)'>",
            "<style>p{background:url('data:image/png;base64,AAAA')}</style><p>data:image/png;base64,AAAA</p><!-- "
            "data:image/png;base64,AAAA --><svg><image href=data:image/png;base64,AAAA /></svg>"};
}

}   // namespace ostrel::fuzz
