#include "core/archive/Archive.h"

#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

const Digest x = sha256(bytesOf("x"));
const std::string hexOfX = "2d711642b726b04401627ca9fbac32f5c8530fb1903cc4db02258717921a4881";

TEST(Sums, HaveTheFormOfSha256sum) {
    std::string text;
    for (const char* name : {"a b.pdf", "京都/ä.txt", "a\\b", "c\rd\ne"}) Sums::append(text, {name, x});
    EXPECT_EQ(text, hexOfX + "  a b.pdf\n" + hexOfX + "  京都/ä.txt\n" + "\\" + hexOfX + "  a\\\\b\n" + "\\" + hexOfX +
                        "  c\\rd\\ne\n");
    EXPECT_EQ(Sums::parse(text), (Sums::Content{{{"a b.pdf", x}, {"京都/ä.txt", x}, {"a\\b", x}, {"c\rd\ne", x}}, 0}));
    EXPECT_EQ(Sums::parse(hexOfX + " *binary\n"), (Sums::Content{{{"binary", x}}, 0}));
}

TEST(Sums, LinesOfAStrangerNameNothingOutside) {
    const std::string rows[] = {hexOfX + "  ../up\n",
                                hexOfX + "  /etc/passwd\n",
                                hexOfX + "  a/../../b\n",
                                hexOfX + "  a/b/c\n",
                                hexOfX + "  .\n",
                                hexOfX + "  a/\n",
                                hexOfX + "  \n",
                                hexOfX + " name\n",
                                hexOfX + "  cut short",
                                hexOfX.substr(1) + "  a\n",
                                "\n",
                                "\\" + hexOfX + "  a\\x\n",
                                "\\" + hexOfX + "  a\\\n",
                                "g" + hexOfX.substr(1) + "  a\n",
                                hexOfX + "  " + std::string(256, 'n') + "\n",
                                hexOfX + "  a" + std::string(1, '\0') + "b\n"};
    for (const std::string& line : rows) EXPECT_EQ(Sums::parse(line), (Sums::Content{{}, 1})) << line;
}

TEST(ArchiveLine, ComesBackAsItWasWritten) {
    ArchivedMessage message;
    message.name = "2024 “A\"\\\n";
    message.state = FiledMessage::State::unsaved;
    message.files = {{message.name + ".pdf", x}, {message.name + "/a", sha256(bytesOf("y"))}};
    message.lacksAttachments = true;
    message.simplified = "Only \"text\".";
    message.digest = x;
    message.path = "Inbox.mbox/1.emlx";
    message.size = UINT64_MAX;
    message.modified = Instant(std::chrono::microseconds(1709622060123456));
    message.mailbox = "Eingang";
    message.summary.subject = "Ä\u2028\x01";
    message.summary.date = Instant(std::chrono::microseconds(-1));
    message.summary.messageID = "a@b";
    message.summary.references = std::vector<std::string>{"r1", "r2"};
    message.summary.from = std::vector<MailAddress>{{"Kim", "kim@x.org"}, {"", "b"}};
    message.summary.cc = std::vector<MailAddress>{{"C", "c"}};
    const std::string line = ArchiveLine::write(message, message.summary, message.mailbox);
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_EQ(std::get<ArchivedMessage>(ArchiveLine::parse(line)), message);
    for (std::size_t length = 0; length < line.size(); ++length)
        EXPECT_TRUE(std::holds_alternative<std::monostate>(ArchiveLine::parse(line.substr(0, length)))) << length;

    const ArchiveLine::Claim claim{"a/b"};
    EXPECT_EQ(std::get<ArchiveLine::Claim>(ArchiveLine::parse(ArchiveLine::write(claim))), claim);
    EXPECT_TRUE(std::get<ArchiveLine::Beginning>(ArchiveLine::parse(R"({"run":"update"})")).isUpdate);
}

TEST(ArchiveLine, WhatIsNoneOfOursIsNothing) {
    const std::string hash = '"' + hexOfX + '"';
    const std::string rows[] = {
        "",
        "null",
        "[]",
        "{}",
        R"({"name":".."})",
        R"({"name":"a/b"})",
        R"({"name":7})",
        R"({"name":"a","unknown":1})",
        R"({"name":"a","state":"odd"})",
        R"({"name":"a","files":{"b.pdf":)" + hash + "}}",
        R"({"name":"a","files":{"a/../b":)" + hash + "}}",
        R"({"name":"a","files":{"a/b":)" + hash + R"(,"a.pdf":)" + hash + "}}",
        R"({"name":"a","files":{"a.pdf":"00"}})",
        R"({"name":"a","from":[["only one"]]})",
        R"({"name":"a","from":[["1","2","3"]]})",
        R"({"claim":"../a"})",
        R"({"claim":"a","name":"a"})",
        R"({"run":"other"})",
        std::string(100000, '['),
        R"({"name":"a","files":)" + std::string(100000, '{'),
    };
    for (const std::string& line : rows)
        EXPECT_TRUE(std::holds_alternative<std::monostate>(ArchiveLine::parse(line))) << line.substr(0, 80);
}

}   // namespace
}   // namespace ostrel
