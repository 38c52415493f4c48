#pragma once

#include "platform/Bytes.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel {

// A picture that a page holds in data: addresses.
struct PagePicture {
    // One data: address, in bytes of the page's HTML.
    struct Address {
        std::size_t begin = 0, size = 0;
        bool isOpen = false;   // ends with its comma: the payload is the picture's bytes
        bool operator==(const Address&) const = default;
    };
    std::string mediaType;            // as the sender wrote it, which need not be what the bytes are
    Bytes bytes;                      // as the mail carries them
    std::vector<Address> addresses;   // in the order of the page; at least one
    std::string name{};               // of the message's own, as its sender called it; empty: written into the HTML
    bool operator==(const PagePicture&) const = default;
};

// A message as one self-contained HTML document, with what is known of it from building it.
struct Page {
    std::string html;                    // the pictures with open addresses are still to be put in
    std::vector<PagePicture> pictures;   // each different one once, ordered by its first address
    // What is read on the page, from top to bottom: UTF-8, a line for each row, paragraph and list entry, tabs between
    // the cells of a row. Styles are not looked at: text that they hide is in it.
    std::string text;
    std::string language{};   // of the mail, as its HTML names it (BCP 47); empty: not named
    // By entry in the list of attachments, where its file is saved, seen from the PDF: "Letter/photo.jpg". Empty, or
    // shorter than the list: it is not.
    std::vector<std::string> savedFiles{};
    bool operator==(const Page&) const = default;
};

// Returns the HTML with what its open addresses lack.
std::string wholeHTML(std::string_view html, const std::vector<PagePicture>& pictures);
inline std::string wholeHTML(const Page& page) { return wholeHTML(page.html, page.pictures); }

// Makes a page of an HTML document that was not built from a message: finds its pictures and reads its text.
Page makePage(std::string html);

}   // namespace ostrel
