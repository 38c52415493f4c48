#include "core/archive/Archive.h"
#include "core/export/CSVIndex.h"
#include "fuzz/Target.h"

namespace ostrel::fuzz {
namespace {

void staysInside(const std::string& name) {
    holds(isArchiveName(name) && !name.starts_with('/'), "a name is one below the archive");
    holds(("/" + name + "/").find("/../") == std::string::npos, "a name leads nowhere else");
}

void sums(std::string_view text) {
    const Sums::Content content = Sums::parse(text);
    std::string written;
    for (const ArchivedFile& file : content.files) {
        staysInside(file.name);
        Sums::append(written, file);
    }
    holds(Sums::parse(written) == Sums::Content{content.files, 0}, "sums come back as they were written");
}

void line(std::string_view text) {
    const ArchiveLine::Line read = ArchiveLine::parse(text);
    if (const auto* claim = std::get_if<ArchiveLine::Claim>(&read)) staysInside(claim->name);
    const auto* message = std::get_if<ArchivedMessage>(&read);
    if (message == nullptr) return;
    for (const ArchivedFile& file : message->files) {
        staysInside(file.name);
        holds(file.name == message->pdfName() || file.name.starts_with(message->name + "/"), "a file has one message");
    }
    const std::string written = ArchiveLine::write(*message, message->summary, message->mailbox);
    holds(std::get<ArchivedMessage>(ArchiveLine::parse(written)) == *message, "a line comes back as it was written");
}

}   // namespace

void run(ByteView input) {
    everyPrefix(input, [](ByteView part) {
        sums(charsOf(part));
        line(charsOf(part));
        CSVIndex::namesIn(charsOf(part));
    });
}

std::vector<std::string> seeds() {
    const std::string hash(64, 'a');
    return {hash + "  index.csv\n\\" + hash + "  a\\\\b/c\\nd\n" + hash + " *x/../y\n",
            R"({"name":"A","state":"unprinted","files":{"A.pdf":")" + hash + R"(","A/b":")" + hash +
                R"("},"lacksAttachments":true,"sha256":")" + hash +
                R"(","messageID":"i","inReplyTo":["r"],"references":["r","s"],"date":-5,"subject":"\ud83d\ude00",)" +
                R"("from":[["K","k@x"]],"to":[],"cc":[["",""]],"mailbox":"M","path":"p","size":1,"modified":2})",
            R"({"claim":"A/b"})", R"({"run":"export"})",
            "\xEF\xBB\xBF"
            "Date,From\r\n\"a\"\"b\",c,,,,,2,x.pdf,x,,,\r\n"};
}

}   // namespace ostrel::fuzz
