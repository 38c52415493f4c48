#include "core/message/MailMessage.h"
#include "fuzz/Seeds.h"
#include "fuzz/Target.h"

#include <algorithm>

namespace ostrel::fuzz {
namespace {

void part(const MIMEPart& each, int depth) {
    holds(depth <= MIMEPart::depthLimit, "nesting ends");
    std::size_t size = 0;
    for (const MIMEPart& child : each.children) {
        size += child.body.size();
        part(child, depth + 1);
    }
    holds(size <= each.body.size(), "parts are windows on their parent");
    holds(!each.mimeType().empty(), "every part has a type");
    if (const auto name = each.filename()) {
        holds(!name->empty(), "a file name is not empty");
        isValidText(*name, "a file name");
    }
}

}   // namespace

void run(ByteView input) {
    everyPrefix(input, [](ByteView bytes) {
        MIMEPart root = MIMEPart::parse(Bytes::copyOf(bytes));
        part(root, 0);
        const MailMessage message = MailMessage::make(std::move(root), false, std::nullopt);
        isValidText(message.subject, "a subject");
        std::size_t texts = 0;
        for (const auto* body : {&message.textBody, &message.htmlBody}) {
            if (!*body) continue;
            isValidText(**body, "a body");
            texts += (*body)->size();
        }
        // What stands between two joined texts is short, and a text has a header at least.
        holds(texts <= 16 * (bytes.size() + 1), "bodies come from the message");
        for (const MailAttachment& attachment : message.attachments) {
            holds(!attachment.filename.empty(), "every attachment has a name");
            if (const auto size = attachment.size()) holds(*size <= bytes.size(), "attachments come from the message");
        }
        for (const auto& [id, image] : message.inlineImages)
            holds(image.contentID == id, "images stand by their identifier");
    });
}

std::vector<std::string> seeds() { return messages(); }

}   // namespace ostrel::fuzz
