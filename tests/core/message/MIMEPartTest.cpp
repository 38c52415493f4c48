#include "core/message/MIMEPart.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

MIMEPart parse(std::string message) { return MIMEPart::parse(Bytes(std::move(message))); }

MIMEPart partWith(std::string headers) { return parse(std::move(headers) + "\n"); }

// "1{1{1.1 1.2} 2}": the numbers of a tree.
std::string outline(const MIMEPart& part) {
    auto result = part.number;
    for (const auto& child : part.children) {
        result += &child == &part.children.front() ? '{' : ' ';
        result += outline(child);
    }
    return part.children.empty() ? result : result + '}';
}

int depthOf(const MIMEPart& part) {
    int deepest = 0;
    for (const auto& child : part.children) deepest = std::max(deepest, depthOf(child));
    return deepest + 1;
}

// Multiparts within each other, each with a boundary of its own, around a leaf.
std::string nested(int levels, const std::string& type = "multipart/mixed") {
    std::string head, tail;
    for (int i = 0; i < levels; ++i) {
        const auto boundary = "b" + std::to_string(i) + "-";
        head += "Content-Type: " + type + "; boundary=" + boundary + "\n\n--" + boundary + "\n";
        tail.insert(0, "\n--" + boundary + "--\n");
    }
    return head + "\nleaf" + tail;
}

TEST(MIMEPartTest, BodiesAreSplitAtDelimiterLines) {
    using Pieces = std::vector<std::string>;
    const struct {
        const char* why;
        std::string body;
        std::string boundary;
        Pieces expected;
    } rows[] = {
        {"preamble and epilogue belong to no piece", "pre\n--b\nA\n--b\nB\n--b--\nepilogue\n--b\nC", "b", {"A", "B"}},
        {"exactly one line break goes", "--b\r\nA\r\n\r\n--b--", "b", {"A\r\n"}},
        {"mixed line ends", "--b\nA\r\n--b\r\nB\n\n--b--", "b", {"A", "B\n"}},
        {"CR LF is one break, LF CR is none", "--b\nA\n\r\n--b\nB\r\r\n--b--", "b", {"A\n", "B\r"}},
        {"not closed: the last piece keeps its end", "--b\nA\n--b\nB\n", "b", {"A", "B\n"}},
        {"not closed, nothing after the delimiter", "--b\nA\n--b", "b", {"A", ""}},
        {"empty pieces are kept", "--b\n--b\n\n--b\n\r\n--b--", "b", {"", "", ""}},
        {"a piece of a lone CR", "--b\n\r\r\n--b--", "b", {"\r"}},
        {"text after the delimiter", "--b \t\nA\n--b and more\nB\n--b--x", "b", {"A", "B"}},
        {"a longer boundary begins with ours", "--b\nA\n--bb\nB\n--b--", "b", {"A", "B"}},
        {"one dash does not close", "--b\nA\n--b-\nB\n--b--", "b", {"A", "B"}},
        {"cut inside the closing dashes", "--b\nA\n--b-", "b", {"A", ""}},
        {"the delimiter only counts at a line start", "--b\nA --b\n --b\nB\n--b--", "b", {"A --b\n --b\nB"}},
        {"a lone CR starts no line", "--b\nA\r--b\nB\n--b--", "b", {"A\r--b\nB"}},
        {"closed at once", "--b--\n--b\nA\n--b--", "b", {}},
        {"never", "A\n--c\nB", "b", {}},
        {"body shorter than the delimiter", "--", "b", {}},
        {"empty body", "", "b", {}},
        {"boundary of dashes", "----\nA\n------\n", "--", {"A"}},
        {"boundary with a line break", "--b\nc\nA\n--b\n--b\nc\nB", "b\nc", {"c\nA\n--b", "c\nB"}},
        {"boundary that overlaps itself", "--\n--\n--\nA\n", "\n--", {"", "--\nA\n"}},
    };
    for (const auto& row : rows) {
        Pieces pieces;
        for (const auto& piece : MIMEPart::splitMultipart(Bytes(row.body), row.boundary))
            pieces.emplace_back(piece.chars());
        EXPECT_EQ(pieces, row.expected) << row.why;
    }
}

TEST(MIMEPartTest, WhatIsJoinedIsSplitAgain) {
    const std::vector<std::string> pieces = {"", "\n", "a", "a\n\nb\n", "\r", "--", "-- b", "x\r\n--bound", "\xFF\n"};
    for (const std::string lineBreak : {"\n", "\r\n"}) {
        std::string body = "preamble" + lineBreak;
        for (const auto& piece : pieces) body += "--boundary" + lineBreak + piece + lineBreak;
        body += "--boundary--";
        const auto split = MIMEPart::splitMultipart(Bytes(body), "boundary");
        ASSERT_EQ(split.size(), pieces.size());
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            // Before a bare LF a CR is taken for half of the delimiter's line break.
            const auto expected = pieces[i] == "\r" && lineBreak == "\n" ? "" : pieces[i];
            EXPECT_EQ(split[i].chars(), expected) << i;
        }
    }
}

TEST(MIMEPartTest, PartsAreNumberedAsMailNumbersItsFolders) {
    EXPECT_EQ(outline(parse("Subject: x\n\nbody")), "1");
    EXPECT_EQ(outline(parse("")), "1");
    EXPECT_EQ(outline(parse("Content-Type: multipart/mixed; boundary=o\n\n"
                            "--o\nContent-Type: multipart/alternative; boundary=i\n\n--i\n\nA\n--i\n\nB\n--i--\n"
                            "--o\n\nC\n--o--")),
              "1{1{1.1 1.2} 2}");
    EXPECT_EQ(outline(parse(nested(4))), "1{1{1.1{1.1.1{1.1.1.1}}}}");
}

TEST(MIMEPartTest, NestingEnds) {
    for (const auto& type : {"multipart/mixed", "multipart/digest"}) {
        EXPECT_EQ(depthOf(parse(nested(24, type))), 25) << type;
        EXPECT_EQ(depthOf(parse(nested(25, type))), 25) << type;
        EXPECT_EQ(depthOf(parse(nested(1000, type))), 25) << type;
    }
    EXPECT_EQ(outline(MIMEPart::parse(Bytes(nested(3)), "7", MIMEPart::depthLimit - 1)), "7{7.1}");
}

TEST(MIMEPartTest, ChildrenNeedAMultipartWithABoundary) {
    const struct {
        const char* why;
        const char* type;
        std::size_t children;
    } rows[] = {
        {"letter case of the type", "MultiPart/X; boundary=b", 1},
        {"no boundary", "multipart/mixed", 0},
        {"empty boundary", "multipart/mixed; boundary=\"\"", 0},
        {"another boundary", "multipart/mixed; boundary=c", 0},
        {"not a multipart", "text/plain; boundary=b", 0},
        {"no subtype", "multipart; boundary=b", 0},
        {"empty subtype", "multipart/; boundary=b", 1},
        {"blank before the slash", "multipart /mixed; boundary=b", 0},
    };
    for (const auto& row : rows) {
        const auto part = parse("Content-Type: " + std::string(row.type) + "\n\n--b\nx");
        EXPECT_EQ(part.children.size(), row.children) << row.why;
        EXPECT_EQ(part.body.chars(), "--b\nx") << row.why;
    }
}

TEST(MIMEPartTest, DigestMembersAreMessages) {
    const auto digest = parse(
        "Content-Type: multipart/digest; boundary=b\n\n"
        "--b\n\nSubject: x\n--b\nContent-Type: text/plain\n\ny\n--b\nContent-Type:\n\nz\n--b--");
    ASSERT_EQ(digest.children.size(), 3u);
    EXPECT_EQ(digest.children[0].mimeType(), "message/rfc822");
    EXPECT_EQ(digest.children[0].headers.first("Content-Type"), "message/rfc822");
    EXPECT_EQ(digest.children[1].mimeType(), "text/plain");
    EXPECT_EQ(digest.children[2].mimeType(), "text/plain") << "an empty field is a field";
}

TEST(MIMEPartTest, PropertiesAreReadFromTheFields) {
    const auto bare = partWith("");
    EXPECT_EQ(bare.mimeType(), "text/plain");
    EXPECT_FALSE(bare.isMultipart() || bare.isAttachment());
    EXPECT_FALSE(bare.charset() || bare.transferEncoding() || bare.contentID() || bare.filename());

    const auto part = partWith(
        "Content-Type: IMAGE/Png; name=typed; charset=X\nContent-Disposition: ATTACHMENT\n"
        "Content-ID:  < \t<a<b>@c>>  \nContent-Transfer-Encoding: x-None\n");
    EXPECT_EQ(part.mimeType(), "image/png");
    EXPECT_TRUE(part.isAttachment());
    EXPECT_EQ(part.charset(), "X");
    EXPECT_EQ(part.transferEncoding(), "x-None");
    EXPECT_EQ(part.contentID(), "a<b>@c");
    EXPECT_EQ(part.filename(), "typed");

    EXPECT_EQ(partWith("Content-Type: html").mimeType(), "text/plain") << "no subtype";
    EXPECT_EQ(partWith("Content-ID: <>").contentID(), std::nullopt);
    EXPECT_EQ(partWith("Content-Type: a/b; name=n\nContent-Disposition: x; filename=f\n").filename(), "f");
    EXPECT_EQ(partWith("Content-Type: a/b; name=n\nContent-Disposition: x; filename=\" \"\n").filename(), std::nullopt)
        << "a name of blanks is there and empty";
    EXPECT_EQ(partWith("Content-Disposition: x; filename*=%0D%0A%20f%0A").filename(), "f");
}

TEST(MIMEPartTest, TextIsDecodedTwice) {
    EXPECT_EQ(
        parse("Content-Type: text/plain; charset=iso-8859-1\nContent-Transfer-Encoding: quoted-printable\n\n=E9=\n!")
            .text(),
        "é!");
    EXPECT_EQ(parse("Content-Transfer-Encoding: base64\n\nw6k=").text(), "é");
}

TEST(MIMEPartTest, PartsAreWindowsOnTheMessage) {
    const Bytes message(nested(5));
    const auto begin = message.view().data(), end = begin + message.size();
    for (auto part = MIMEPart::parse(message);; part = MIMEPart(part.children.front())) {
        EXPECT_TRUE(part.body.view().data() >= begin && part.body.view().data() + part.body.size() <= end)
            << part.number;
        if (part.children.empty()) break;
    }
}

}   // namespace
}   // namespace ostrel
