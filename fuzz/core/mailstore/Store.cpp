#include "core/mailstore/Emlx.h"
#include "core/mailstore/MailScanner.h"
#include "fuzz/Seeds.h"
#include "fuzz/Target.h"
#include "tests/platform/Surroundings.h"

#include <filesystem>
#include <fstream>
#include <map>

namespace ostrel::fuzz {
namespace {

namespace fs = std::filesystem;

// A store as text: each line that begins with U+0001 names a file, a folder ("…/") or a link ("a@b"); what follows is
// the file's content. Names that lead outside are skipped.
void build(const fs::path& root, std::string_view text) {
    std::size_t made = 0;
    while (!text.empty() && ++made < 60) {
        const std::size_t end = std::min(text.find('\x01', 1), text.size());
        const std::string_view entry =
            text.substr(text.front() == '\x01' ? 1 : 0, end - (text.front() == '\x01' ? 1 : 0));
        text.remove_prefix(end);
        const std::size_t lineEnd = std::min(entry.find('\n'), entry.size());
        std::string name(entry.substr(0, lineEnd));
        std::error_code ignored;
        const std::size_t at = name.find('@');
        const fs::path path = root / name.substr(0, at);
        if (name.empty() || name.front() == '/' || name.find("..") != std::string::npos ||
            name.find('\0') != std::string::npos)
            continue;
        fs::create_directories(name.back() == '/' ? path : path.parent_path(), ignored);
        if (at != std::string::npos) {
            fs::create_symlink(name.substr(at + 1), path, ignored);
        } else if (name.back() != '/' && !fs::exists(path, ignored)) {
            std::ofstream(path, std::ios::binary) << entry.substr(std::min(lineEnd + 1, entry.size()));
        }
    }
}

}   // namespace

void run(ByteView input) {
    const ScratchFolder folder;
    build(folder.path(), charsOf(input));

    std::size_t reported = 0;
    MailIndex index;
    try {
        index = MailScanner::scan(
            folder.path(), "On My Mac", [&](std::size_t found) { reported = found; }, [] { return false; });
    } catch (const MailAccessError&) {
        return;
    }
    holds(reported == index.messages.size(), "the last report counts all messages");
    std::map<std::string, std::size_t> counts;
    for (const MessageSummary& message : index.messages) {
        ++counts[message.mailboxID];
        holds(index.mailbox(message.mailboxID) != nullptr, "every message is in a mailbox");
        isValidText(message.subject, "a subject");
        try {
            const MailMessage whole = Emlx::read(message.url.native());
            isValidText(whole.subject, "a subject");
            for (const MailAttachment& attachment : whole.attachments) {
                if (const auto* stored = std::get_if<fs::path>(&attachment.source)) {
                    const std::string inside = fs::canonical(folder.path()).native() + "/";
                    holds(fs::canonical(*stored).native().starts_with(inside), "attachments are files of the store");
                }
            }
        } catch (const Emlx::ReadError&) {
        } catch (const FileError&) {
        }
    }
    for (const MailAccount& account : index.accounts) {
        for (const Mailbox& mailbox : account.mailboxes)
            holds(mailbox.messageCount == counts[mailbox.id], "a mailbox counts its messages");
    }
}

std::vector<std::string> seeds() {
    std::vector<std::string> stores;
    const std::vector<std::string> files = messageFiles();
    for (std::size_t at = 0; at + 2 < files.size(); at += 3) {
        stores.push_back("\x01V10/ACCOUNT/INBOX.mbox/STORE/Data/1/Messages/1001.emlx\n" + files[at] +
                         "\x01V10/ACCOUNT/INBOX.mbox/STORE/Data/1/Messages/1002.partial.emlx\n" + files[at + 1] +
                         "\x01V10/ACCOUNT/INBOX.mbox/STORE/Data/1/Attachments/1002/2/report.pdf\n%PDF"
                         "\x01V10/ACCOUNT/Projects.mbox/Kitchen.mbox/Messages/7.emlx\n" +
                         files[at + 2]);
    }
    stores.push_back(
        "\x01V2/Mailboxes/Old.mbox/Messages/1.emlx\n14\nSubject: "
        "x\n\nyz\x01V9/\x01V10/a@..\x01V10/IMAP-kim@x.mbox@/etc");
    return stores;
}

}   // namespace ostrel::fuzz
