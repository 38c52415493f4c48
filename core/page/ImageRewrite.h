#pragma once

#include "core/message/MailAttachment.h"
#include "core/page/Page.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel {

// Rewrites the img tags of one message. The table must outlive the rewriter.
class ImageRewriter {
public:
    // The bytes of all images on one page, whether embedded or written into the HTML. A message that shows its one
    // large image a hundred thousand times would otherwise make a page larger than memory. An image past the limit is
    // treated as missing.
    static constexpr std::size_t embeddedBytesLimit = std::size_t{256} << 20;

    explicit ImageRewriter(const std::map<std::string, MailAttachment>& inlineImages) : inlineImages_(inlineImages) {}

    // Appends what stands in place of the tag ("<img" to its first ">"): the tag itself (images written into the
    // HTML), the tag with an open data: URI (the message's own images), a grey box of the declared size, or nothing.
    void rewrite(std::string& out, std::string_view tag);

    // Returns the number of images that were not the message's own.
    std::size_t blocked() const { return blocked_; }
    // Returns the message's own images that were embedded; their addresses are places in the text appended to.
    std::vector<PagePicture> takeEmbedded();

private:
    bool embed(std::string& out, std::string_view tag, std::string_view contentID);
    const MailAttachment* find(std::string_view contentID);
    struct Own {
        std::optional<std::string> uri{};   // as the page has it; nullopt: the bytes cannot be had
        bool isOpen = false;                // it is without its payload
        std::size_t wholeSize = 0;          // with that
        PagePicture picture{};
    };
    Own& read(const MailAttachment& image);
    void block(std::string& out, std::string_view tag);

    const std::map<std::string, MailAttachment>& inlineImages_;
    std::optional<std::map<std::string, const MailAttachment*>> byFoldedID_;   // made when first needed
    std::map<const MailAttachment*, Own> own_;                                 // those that were asked for
    std::size_t embeddedBytes_ = 0;
    std::size_t blocked_ = 0;
};

}   // namespace ostrel
