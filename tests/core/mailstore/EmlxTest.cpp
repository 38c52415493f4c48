#include "core/mailstore/Emlx.h"
#include "platform/Files.h"
#include "sample/EmlBuilder.h"
#include "tests/platform/Surroundings.h"

#include <variant>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;
using Kind = Emlx::ReadError::Kind;
using Fields = std::vector<HeaderField>;

std::string list(std::string_view entries) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + std::string(entries) +
           "</dict></plist>\n";
}

std::string counted(std::string_view message, std::string_view after = {}) {
    return std::to_string(message.size()) + "        \n" + std::string(message) + std::string(after);
}

template <typename Call>
auto orError(Call call) -> std::variant<decltype(call()), Kind> {
    try {
        return call();
    } catch (const Emlx::ReadError& error) {
        return error.kind;
    }
}

TEST(Emlx, knowsAMessageByItsFirstLine) {
    const std::string filler(999, 'x');
    const struct {
        const char* why;
        std::string bytes;
        bool expected;
    } rows[] = {
        {"a field", "Subject: hello", true},
        {"blank lines first", "\r\n\n\rTo: a", true},
        {"nothing", "", false},
        {"only line breaks", "\r\n\r\n", false},
        {"mailbox separator line", "From kim@example.com Mon", true},
        {"separator line in lower case", "from kim", false},
        {"a time of day makes the separator line a bad field", "From kim Mon 10:00", false},
        {"colon first", ": value", false},
        {"space before the colon", "Subject : a", false},
        {"tab before the colon", "Subject\t: a", false},
        {"DEL in the name", "Sub\x7Fject: a", false},
        {"8-bit byte in the name", "S\xC3\xBC: a", false},
        {"8-bit byte behind the colon", "S: \xC3\xBC", true},
        {"only the first line counts", "hello\nSubject: a", false},
        {"the first colon decides", "a b: c: d", false},
        {"a lone CR ends no line", "a\rSubject: b", false},
        {"colon as 1,000th byte", filler + ":", true},
        {"colon one byte too far", filler + "x:", false},
        {"the 1,000 bytes begin behind the blank lines", "\n\n" + filler + ":", true},
    };
    for (const auto& row : rows) EXPECT_EQ(Emlx::looksLikeMessage(bytesOf(row.bytes)), row.expected) << row.why;
}

// What the full reader makes of a file, for comparing.
struct Read {
    std::string message;
    std::optional<double> received = {};
    std::optional<std::int64_t> flags = {};
    bool truncated = false;
    bool operator==(const Read&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Read& read) {
        return out << '"' << read.message << "\" received " << read.received.value_or(-1) << " flags "
                   << read.flags.value_or(-1) << (read.truncated ? " truncated" : "");
    }
};

TEST(Emlx, separatesMessageAndBookkeeping) {
    const std::string message = "A: b\n";
    const std::string date = "<key>date-received</key><real>1700000000.5</real>";
    const std::string flags = "<key>flags</key><integer>8590195713</integer>";
    const struct {
        const char* why;
        std::string file;
        std::variant<Read, Kind> expected;
    } rows[] = {
        {"as Mail writes it", counted(message, list(date + flags)), Read{message, 1700000000.5, 8590195713}},
        {"whole seconds", counted(message, list("<key>date-received</key><integer>17</integer>")), Read{message, 17.0}},
        {"no bookkeeping", counted(message), Read{message}},
        {"count promises too much", "100\n" + message, Read{message, {}, {}, true}},
        {"count one too large", "6\n" + message, Read{message, {}, {}, true}},
        {"count at the limit of 64 bits", "9223372036854775807\n" + message, Read{message, {}, {}, true}},
        {"count beyond 64 bits is no count", "9223372036854775808\n" + message, Kind::notAMessage},
        {"count cuts the message", "4\n" + message, Read{"A: b"}},
        {"plus sign", "+5\n" + message, Read{message}},
        {"minus zero", "-0\n" + message, Kind::notAMessage},
        {"minus sign", "-3\n" + message, Kind::notAMessage},
        {"two signs", "+-5\n" + message, Kind::notAMessage},
        {"number with a fraction", "5.0\n" + message, Kind::notAMessage},
        {"digits of another script", "\xD9\xA5\n" + message, Kind::notAMessage},
        {"blanks around", " \t5 \t\n" + message, Read{message}},
        {"no-break space around",
         "\xC2\xA0"
         "5\n" +
             message,
         Read{message}},
        {"CR LF", "5\r\n" + message, Read{message}},
        {"empty first line, no count", "\n" + message, Read{"\n" + message}},
        {"no count line", message + "\nbody\n", Read{message + "\nbody\n"}},
        {"line feed as 24th byte", "5" + std::string(22, ' ') + "\n" + message, Read{message}},
        {"24 bytes without one: the message starts at byte 25", "5" + std::string(23, ' ') + "?" + message,
         Read{message}},
        {"24 digits with zeros in front", std::string(23, '0') + "5" + "?" + message, Read{message}},
        {"only the count", "5\n", Kind::notAMessage},
        {"only the count, no line feed", "5", Kind::notAMessage},
        {"24 bytes and the end", "5" + std::string(23, ' '), Kind::notAMessage},
        {"count of zero", "0\n" + message, Kind::notAMessage},
        {"count, then no message", "5\nhello world", Kind::notAMessage},
        {"nothing", "", Kind::empty},
        {"only blanks and line breaks", "\r\n\r\n  \t", Kind::empty},
        {"NUL bytes", std::string(8, '\0'), Kind::notAMessage},
        {"date as text is ignored, flags are read",
         counted(message, list("<key>date-received</key><string>1700000000</string>" + flags)),
         Read{message, {}, 8590195713}},
        {"no dictionary", counted(message, "<plist><array><integer>1</integer></array></plist>"), Read{message}},
        {"cut list", counted(message, list(date + flags).substr(0, 90)), Read{message}},
        {"rubbish behind the message", counted(message, "\x01\x02rubbish"), Read{message}},
        {"date beyond every calendar", counted(message, list("<key>date-received</key><real>1e300</real>")),
         Read{message}},
    };
    for (const auto& row : rows) {
        const auto read = orError([&] {
            const Emlx::Container c = Emlx::container(Bytes(row.file));
            Read result{std::string(c.message.chars()), {}, c.flags, c.truncated};
            if (c.dateReceived) result.received = static_cast<double>(c.dateReceived->time_since_epoch().count()) / 1e6;
            return result;
        });
        EXPECT_EQ(read, row.expected) << row.why;
    }
}

std::variant<Fields, Kind> headOf(const fs::path& file) {
    return orError([&] { return Emlx::readHeaders(file).fields; });
}

TEST(Emlx, readsTheHeadOfAFile) {
    const ScratchFolder folder;
    const Fields field = {{"A", "b"}};
    // A head whose empty line stands at, before and behind the end of the first read of 64 KiB.
    const auto headOfSize = [](std::size_t size) { return "A: " + std::string(size - 5, 'x') + "\n\n"; };
    const auto longField = [](std::size_t size) { return Fields{{"A", std::string(size - 5, 'x')}}; };
    const struct {
        const char* why;
        std::string file;
        std::variant<Fields, Kind> expected;
    } rows[] = {
        {"count line", "5\nA: b\n\nbody: x", field},
        {"no count line", "A: b\n\nbody: x", field},
        {"the count's value means nothing", "0\nA: b\n\nbody", field},
        {"nor does its sign", "-3\nA: b\n\nbody", field},
        {"no empty line", "9\nA: b", field},
        {"a CR is no blank: no count line", "12\r\nA: b\n\n", Kind::notAMessage},
        {"byte 25 after a line without end", "5" + std::string(23, ' ') + "?A: b\n\n", field},
        {"beyond 64 bits", "9223372036854775808\nA: b\n\n", Kind::notAMessage},
        {"short number and the end", "12", Kind::notAMessage},
        {"header begins with an empty line", "9\n\nA: b\n\n", Fields{}},
        {"nothing", "", Kind::empty},
        {"only blanks", "  \r\n", Kind::notAMessage},
        {"no message", "5\nhello world\n\n", Kind::notAMessage},
        {"header fills a quarter of the first read", headOfSize(16384) + "body", longField(16384)},
        {"header ends one byte after the quarter", headOfSize(16385) + "body", longField(16385)},
        {"a message begins behind 20,000 line feeds", std::string(20000, '\n') + "A: b", Fields{}},
        {"nothing in 64 KiB of line feeds", std::string(65536, '\n') + "A: b", Kind::notAMessage},
        {"a colon behind the quarter spoils the separator line", std::string(16379, '\n') + "From kim 10:00",
         Kind::notAMessage},
        {"also behind an odd line break", "\r\r\n" + std::string(16376, '\n') + "From kim 10:00", Kind::notAMessage},
        {"header fills the first read", headOfSize(65536), longField(65536)},
        {"header ends one byte later", headOfSize(65537), longField(65537)},
        {"header ends one byte earlier, more follows", headOfSize(65535) + "body", longField(65535)},
        {"header of 300,000 bytes behind a count", "7\n" + headOfSize(300000) + "body", longField(300000)},
        {"300,000 bytes that are no message", std::string(300000, 'x'), Kind::notAMessage},
    };
    for (const auto& row : rows) {
        files::writeAtomically(folder / "1.emlx", bytesOf(row.file));
        EXPECT_EQ(headOf(folder / "1.emlx"), row.expected) << row.why;
    }
}

TEST(Emlx, refusesWhatIsNoFile) {
    const ScratchFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe.emlx").c_str(), 0600), 0);
    files::createFolders(folder / "folder.emlx");
    for (const char* name : {"pipe.emlx", "folder.emlx", "missing.emlx"}) {
        EXPECT_THROW(Emlx::readHeaders(folder / name), FileError) << name;
        EXPECT_THROW(Emlx::read(folder / name), FileError) << name;
    }
}

TEST(Emlx, readsAWholeMessage) {
    const ScratchFolder folder;
    const auto received = instantFromSeconds(1700000000).value();
    const auto sent = instantFromSeconds(1600000000).value();
    const auto read = [&](const std::string& content) {
        files::writeAtomically(folder / "7.emlx", bytesOf(content));
        return Emlx::read(folder / "7.emlx");
    };
    const EmlBuilder letter = EmlBuilder().header("Subject", "Grüße").text("Hello");
    EXPECT_EQ(read(letter.emlx(received)).date, received) << "no Date field: the date received";
    EXPECT_EQ(read(EmlBuilder(letter).date(sent).emlx(received)).date, sent);
    EXPECT_EQ(read(letter.message()).date, std::nullopt);
    EXPECT_EQ(read(letter.emlx(received)).subject, "Grüße");
    EXPECT_TRUE(read(letter.emlx(received)).problems.empty());

    const MailMessage cut = read("99999\n" + letter.message());
    EXPECT_EQ(cut.problems, std::vector<std::string>{problem::truncated});
    EXPECT_EQ(cut.textBody, read(letter.message()).textBody) << "what there is counts";
}

TEST(Emlx, findsAttachmentsKeptOutsideTheFile) {
    const ScratchFolder folder;
    const fs::path file = folder / "Data/Messages/1234.partial.emlx";
    const fs::path stored = folder / "Data/Attachments/1234/2/plan.pdf";
    for (const auto& path : {file, stored}) files::createFolders(path.parent_path());
    files::writeAtomically(stored, bytesOf("the plan"));
    files::writeAtomically(file, bytesOf(EmlBuilder()
                                             .header("Subject", "Plan")
                                             .text("See there")
                                             .storedAttachment("plan.pdf", "application/pdf", 8)
                                             .emlx(Instant{})));
    const MailMessage message = Emlx::read(file);
    EXPECT_TRUE(message.isPartial);
    ASSERT_EQ(message.attachments.size(), 1u);
    EXPECT_EQ(message.attachments[0].source, MailAttachment::Source(stored));
}

TEST(Emlx, readsEveryCutOfAFile) {
    const std::string message = EmlBuilder().header("Subject", "Cut").text("one\ntwo").message();
    const std::string file = EmlBuilder::emlx(message, Instant{}, 5);
    for (std::size_t size = 0; size <= file.size(); ++size) {
        const auto read = orError([&] { return Emlx::container(Bytes(file.substr(0, size))); });
        if (const auto* c = std::get_if<Emlx::Container>(&read)) {
            EXPECT_TRUE(message.starts_with(c->message.chars())) << "cut to " << size;
            EXPECT_EQ(c->truncated, c->message.size() < message.size()) << "cut to " << size;
        }
    }
}

TEST(Emlx, tellsFromTheNameWhatAFileIs) {
    const struct {
        fs::path file;
        std::string number;
        bool isPartial;
        fs::path attachments;
    } rows[] = {
        {"a/Data/Messages/1234.emlx", "1234", false, "a/Data/Attachments/1234"},
        {"a/Data/Messages/1234.partial.emlx", "1234", true, "a/Data/Attachments/1234"},
        {"a/Data/Messages/1234.PARTIAL.EmlX", "1234", true, "a/Data/Attachments/1234"},
        {"a/Data/Messages/x.partial.emlx.emlx", "x", false, "a/Data/Attachments/x"},
        {"a/Data/Messages/README", "README", false, "a/Data/Attachments/README"},
        {"/a/Messages/partial.emlx", "partial", false, "/a/Attachments/partial"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Emlx::number(row.file), row.number) << row.file;
        EXPECT_EQ(Emlx::isPartial(row.file), row.isPartial) << row.file;
        EXPECT_EQ(Emlx::attachmentsFolder(row.file), row.attachments) << row.file;
    }
}

}   // namespace
}   // namespace ostrel
