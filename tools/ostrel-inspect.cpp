// ostrel-inspect: what the readers make of a mail folder, of message files and of a message's page, and what printing
// it takes. For support and tests.

#include "core/mailstore/Emlx.h"
#include "core/mailstore/MailScanner.h"
#include "core/page/MessageHTML.h"
#include "platform/Files.h"
#include "platform/Installation.h"
#include "platform/JsonWriter.h"
#include "platform/NetworkWall.h"
#include "platform/SHA256.h"
#include "platform/Text.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <unistd.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

constexpr const char* usage =
    "usage: ostrel-inspect index FOLDER\n"
    "       ostrel-inspect message FILE...\n"
    "       ostrel-inspect page FILE\n"
    "       ostrel-inspect print FILE\n";

void write(JsonWriter& json, const std::vector<MailAddress>& addresses) {
    json.open('[');
    for (const MailAddress& address : addresses) {
        json.open('{').key("name").text(address.name).key("email").text(address.email).close('}');
    }
    json.close(']');
}

template <class Text>
void write(JsonWriter& json, const std::vector<Text>& texts) {
    json.open('[');
    for (const Text& text : texts) json.text(text);
    json.close(']');
}

void write(JsonWriter& json, const MailAccount& account) {
    json.open('{').key("id").text(account.id).key("label").text(account.label).key("mailboxes").open('[');
    for (const Mailbox& mailbox : account.mailboxes) {
        json.open('{').key("id").text(mailbox.id).key("account").text(mailbox.account);
        json.key("name").text(mailbox.name).key("messageCount").number(mailbox.messageCount).close('}');
    }
    json.close(']').close('}');
}

void write(JsonWriter& json, const MessageSummary& message, const fs::path& root) {
    json.open('{').key("path").text(displayText(fs::path(message.url).lexically_relative(root)));
    json.key("mailboxID").text(*message.mailboxID).key("subject").text(message.subject);
    write(json.key("from"), message.from);
    write(json.key("to"), message.to);
    write(json.key("cc"), message.cc);
    json.key("date").text(isoUTC(message.date)).key("messageID").optionalText(message.messageID);
    write(json.key("inReplyTo"), message.inReplyTo.texts());
    write(json.key("references"), message.references.texts());
    json.key("hasAttachments").boolean(message.hasAttachments).key("isPartial").boolean(message.isPartial).close('}');
}

int inspectIndex(const fs::path& folder) {
    const MailIndex index = MailScanner::scan(
        folder, "On My Mac", [](std::size_t) {}, [] { return false; });
    JsonWriter json(std::cout);
    json.open('{').key("root").text(displayText(index.root)).key("unreadable").number(index.unreadable);
    json.key("accounts").open('[');
    for (const MailAccount& account : index.accounts) write(json, account);
    json.close(']').key("messages").open('[');
    for (const MessageSummary& message : index.messages) write(json, message, index.root);
    json.close(']').close('}');
    std::cout << '\n';
    return 0;
}

void write(JsonWriter& json, const MailAttachment& attachment, const fs::path& attachmentsFolder) {
    json.open('{').key("filename").text(attachment.filename).key("mimeType").text(attachment.mimeType);
    json.key("contentID").optionalText(attachment.contentID).key("partNumber").text(attachment.partNumber);
    const auto* file = std::get_if<fs::path>(&attachment.source);
    json.key("source").text(file ? "file" : attachment.isAvailable() ? "data" : "missing");
    std::optional<Bytes> bytes;
    try {
        if (attachment.isAvailable()) bytes = attachment.data();
    } catch (const FileError&) {
        // A stored file that cannot be read has a name and no bytes.
    }
    if (bytes) {
        json.key("size").number(bytes->size()).key("sha256").text(hexOf(sha256(bytes->view())));
    } else {
        json.key("size").null().key("sha256").null();
    }
    if (file) {
        json.key("file").text(displayText(file->lexically_relative(attachmentsFolder)));
    } else {
        json.key("file").null();
    }
    json.close('}');
}

void write(JsonWriter& json, const MailMessage& message, const fs::path& attachmentsFolder) {
    json.open('{').key("headers").open('[');
    for (const HeaderField& field : message.headers.fields)
        json.open('[').text(field.name).text(field.value).close(']');
    json.close(']').key("subject").text(message.subject);
    write(json.key("from"), message.from);
    write(json.key("to"), message.to);
    write(json.key("cc"), message.cc);
    write(json.key("replyTo"), message.replyTo);
    json.key("date").optionalText(message.date ? std::optional(isoUTC(*message.date)) : std::nullopt);
    json.key("messageID").optionalText(message.messageID);
    write(json.key("inReplyTo"), message.inReplyTo);
    write(json.key("references"), message.references);
    json.key("textBody").optionalText(message.textBody).key("htmlBody").optionalText(message.htmlBody);
    json.key("attachments").open('[');
    for (const MailAttachment& attachment : message.attachments) write(json, attachment, attachmentsFolder);
    json.close(']').key("inlineImages").open('{');
    for (const auto& [contentID, image] : message.inlineImages) write(json.key(contentID), image, attachmentsFolder);
    json.close('}').key("isPartial").boolean(message.isPartial);
    write(json.key("problems"), message.problems);
    json.close('}');
}

void inspectMessage(const fs::path& file) {
    JsonWriter json(std::cout);
    const auto fail = [&](const char* kind) { json.open('{').key("error").text(kind).close('}'); };
    try {
        const MailMessage message = Emlx::read(file);
        write(json, message, Emlx::attachmentsFolder(file));
    } catch (const Emlx::ReadError& error) {
        fail(error.kind == Emlx::ReadError::Kind::empty ? "empty" : "notAMessage");
    } catch (const FileError&) {
        fail("unreadable");
    }
    std::cout << '\n';
}

int inspectPage(const fs::path& file) {
    const MailMessage message = Emlx::read(file);
    // As in an export, a message without any date shows its file's.
    const Instant date = message.date ? *message.date : files::modificationDate(file).value_or(Instant{});
    std::cout << wholeHTML(
        MessageHTML::page(message, "", isoDateTime(date, Calendar::current()), std::nullopt, PageLabels{}));
    return 0;
}

// Goes on as the program that has the engine: its libraries would slow down the start of everything else here.
int inspectPrint(const fs::path& file) {
    const fs::path program = installation::prefix() / "libexec" / "ostrel-print";
    const std::array arguments{program.c_str(), file.c_str(), static_cast<const char*>(nullptr)};
    execv(program.c_str(), const_cast<char* const*>(arguments.data()));
    if (errno != ENOENT) throw FileError::reading(program, std::error_code(errno, std::generic_category()));
    throw std::runtime_error("built without the engine that prints");
}

int run(const std::vector<std::string>& arguments) {
    const std::string_view command = arguments.empty() ? "" : arguments.front();
    if (command == "index" && arguments.size() == 2) return inspectIndex(arguments[1]);
    if (command == "page" && arguments.size() == 2) return inspectPage(arguments[1]);
    if (command == "print" && arguments.size() == 2) return inspectPrint(arguments[1]);
    if (command == "message" && arguments.size() >= 2) {
        for (std::size_t i = 1; i < arguments.size(); ++i) inspectMessage(arguments[i]);
        return 0;
    }
    std::cerr << usage;
    return 2;
}

}   // namespace
}   // namespace ostrel

int main(int argc, char** argv) {
    ostrel::networkWall::raise();
    std::ios::sync_with_stdio(false);
    try {
        const int status = ostrel::run({argv + 1, argv + argc});
        std::cout.flush();
        return std::cout.good() ? status : 2;
    } catch (const std::exception& error) {
        std::cerr << "ostrel-inspect: " << error.what() << '\n';
        return 2;
    }
}
