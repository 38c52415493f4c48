#pragma once

#include "core/message/MailMessage.h"
#include "core/page/Page.h"
#include "core/page/PageLabels.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// MailMessage to one self-contained HTML page that fetches nothing and runs nothing.
namespace ostrel::MessageHTML {

// What the page allows itself; the web engine refuses the rest.
inline constexpr std::string_view contentSecurityPolicy =
    "default-src 'none'; img-src data:; style-src 'unsafe-inline'; font-src data:";

// The limit for each of a message's HTML (images written into it are not counted), its plain text and its list of
// files. On a slow machine the engine lays out 1 MB of text in 6 to 9 s, on 250 sheets. A message that people wrote
// has some KB; a log or a table that somebody pasted has some MB.
inline constexpr std::size_t textLimitBytes = std::size_t{8} << 20;
// The limit for its subject, a row of its header, the name of a file.
inline constexpr std::size_t lineLimitBytes = std::size_t{1} << 20;

// Makes the complete document. What is beyond the limits is left out, and a note says so. mailbox and dateText are
// shown as given (an empty mailbox gives no row); attachmentFolder is the name of the folder that the attachments were
// saved in, nullopt if nothing was saved. Never fails.
Page page(const MailMessage& message, const std::string& mailbox, const std::string& dateText,
          const std::optional<std::string>& attachmentFolder, const PageLabels& labels);

struct Sanitized {
    std::string html;          // a fragment: style elements and body content
    std::size_t blocked = 0;   // images that were not the message's own
    std::vector<PagePicture> pictures{};
};
// Turns a message's HTML into a fragment without anything active, embedding or remote; images the message carries
// become open data: URIs, other images grey boxes of their declared size. Reads the files of inline images that are in
// one. Never fails.
Sanitized sanitize(std::string_view html, const std::map<std::string, MailAttachment>& inlineImages);

// Escapes & < > and the double quote, nothing else.
std::string escape(std::string_view text);

}   // namespace ostrel::MessageHTML
