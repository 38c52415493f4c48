#include "core/mailstore/MailIndex.h"

namespace ostrel {

const std::string& MessageSummary::fromLine() const {
    static const std::string nobody;
    if (from->empty()) return nobody;
    return from->front().name.empty() ? from->front().email : from->front().name;
}

const Mailbox* MailIndex::mailbox(const std::string& id) const {
    for (const MailAccount& account : accounts) {
        for (const Mailbox& mailbox : account.mailboxes) {
            if (mailbox.id == id) return &mailbox;
        }
    }
    return nullptr;
}

}   // namespace ostrel
