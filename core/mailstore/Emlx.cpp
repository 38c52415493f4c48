#include "core/mailstore/Emlx.h"

#include "platform/Files.h"
#include "platform/PropertyListReaders.h"
#include "platform/Text.h"
#include "platform/Translation.h"

#include <algorithm>
#include <array>

namespace ostrel::Emlx {

namespace {

constexpr std::size_t countLineLimit = 24;   // a longer first line is no count line
constexpr std::size_t headLimit = 65536;
constexpr std::size_t usualHead = 16384;   // few heads are longer, and most files are: the rest need not be copied
constexpr std::size_t firstLineLimit = 1000;

// The first line, which may hold the message's length.
struct FirstLine {
    std::string_view text;   // without its LF
    std::size_t end = 0;     // offset of the LF; the limit when none was found
    bool hasFollowers = false;
    // Where the message starts when the line is a count line.
    std::size_t messageStart(std::size_t fileSize) const { return std::min(end + 1, fileSize); }
};

FirstLine firstLine(std::string_view file) {
    const std::size_t lineFeed = file.substr(0, countLineLimit).find('\n');
    if (lineFeed != std::string_view::npos) return {file.substr(0, lineFeed), lineFeed, true};
    return {file.substr(0, countLineLimit), countLineLimit, file.size() > countLineLimit};
}

std::optional<long long> countIn(std::string_view trimmed) {
    long long count = 0;
    return text::parseInteger(trimmed, count) ? std::optional(count) : std::nullopt;
}

// The last component, as a view: a scan asks for every file.
std::string_view nameOf(const FilePath& file) {
    const std::string_view path = file.native();
    return path.substr(path.rfind('/') + 1);
}

bool isBlankFile(std::string_view bytes) { return bytes.find_first_not_of(" \t\n\r") == std::string_view::npos; }

void readBookkeeping(ByteView bytes, Container& container) {
    const auto list = propertyList::parse(bytes);
    if (!list) return;
    if (const auto received = list->number("date-received")) container.dateReceived = instantFromSeconds(*received);
    container.flags = list->integer("flags");
}

// The head in what was read of a file so far. The number in the first line is skipped, whatever its value.
struct FoundHead {
    explicit FoundHead(std::string_view read) {
        const FirstLine line = firstLine(read);
        const std::string decoded = text::toValidUTF8(line.text);
        const bool isCount = countIn(text::trimBlanks(decoded)).has_value();
        head = bytesOf(isCount ? read.substr(line.messageStart(read.size())) : read);
        split = splitHeaderAndBody(head);
    }
    ByteView header() const { return head.first(split.headerSize); }
    bool isEnded() const { return split.bodyStart < head.size(); }
    // Whether the first line that is not empty lies inside the header block, so that none follows that could matter.
    bool holdsFirstLine() const { return charsOf(header()).find_first_not_of("\r\n") != std::string_view::npos; }

    ByteView head;
    HeaderBodySplit split;
};

}   // namespace

ReadError::ReadError(Kind kind_)
    : std::runtime_error(kind_ == Kind::empty ? i18n::tr("The message file is empty.")
                                              : i18n::tr("The file is not a mail message.")),
      kind(kind_) {}

bool looksLikeMessage(ByteView bytes) {
    std::string_view line = charsOf(bytes);
    line.remove_prefix(std::min(line.find_first_not_of("\r\n"), line.size()));
    line = line.substr(0, firstLineLimit);
    line = line.substr(0, line.find('\n'));
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) return line.starts_with("From ");   // mbox separator line
    // ftext of RFC 5322 section 3.6.8
    return colon > 0 && std::ranges::all_of(line.substr(0, colon), [](char c) { return c >= 0x21 && c <= 0x7E; });
}

Container container(const Bytes& file) {
    const std::string_view bytes = file.chars();
    if (isBlankFile(bytes)) throw ReadError(ReadError::Kind::empty);

    const FirstLine line = firstLine(bytes);
    const std::string decoded = text::toValidUTF8(line.text);
    const auto count = countIn(text::trimBlanksAndNewlines(decoded));
    if (!line.hasFollowers || !count || *count < 0) {
        if (!looksLikeMessage(file.view())) throw ReadError(ReadError::Kind::notAMessage);
        return {file, std::nullopt, std::nullopt, false};
    }

    const std::size_t start = line.messageStart(bytes.size());
    const std::size_t available = bytes.size() - start;
    const auto promised = static_cast<std::size_t>(*count);
    Container result;
    result.message = file.slice(start, promised);
    if (!looksLikeMessage(result.message.view())) throw ReadError(ReadError::Kind::notAMessage);
    result.truncated = promised > available;
    if (promised < available) readBookkeeping(file.view().subspan(start + promised), result);
    return result;
}

void readHeaderBlock(files::ReadHandle& file, std::string& out) {
    const auto append = [&](const FoundHead& found) {
        if (!looksLikeMessage(found.head)) throw ReadError(ReadError::Kind::notAMessage);
        out += charsOf(found.header());
    };
    // On the stack, because to allocate and clear so much for each file would take a scan longer than reading it.
    std::array<char, headLimit> buffer;
    const std::span<char> room(buffer);
    std::size_t size = file.read(room.first(usualHead));
    if (size == 0) throw ReadError(ReadError::Kind::empty);
    FoundHead found({buffer.data(), size});
    if (size == usualHead && !(found.isEnded() && found.holdsFirstLine())) {
        size += file.read(room.subspan(usualHead));
        found = FoundHead({buffer.data(), size});
    }
    if (found.isEnded() || size < headLimit) return append(found);

    std::string whole(buffer.data(), size);
    file.readToEnd(whole);
    append(FoundHead(whole));
}

Headers readHeaders(const std::filesystem::path& file) {
    files::ReadHandle handle(file);
    std::string block;
    readHeaderBlock(handle, block);
    return Headers::parse(bytesOf(block));
}

MailMessage read(const std::filesystem::path& file) { return message(container(files::readWhole(file)), file); }

MailMessage message(const Container& stored, const std::filesystem::path& file) {
    MailMessage message = MailMessage::make(MIMEPart::parse(stored.message), isPartial(file), attachmentsFolder(file));
    if (!message.date) message.date = stored.dateReceived;
    if (stored.truncated) message.problems.emplace_back(problem::truncated);
    return message;
}

std::string number(const FilePath& file) {
    const std::string_view name = nameOf(file);
    return std::string(name.substr(0, name.find('.')));
}

bool isPartial(const FilePath& file) { return text::lowerASCII(nameOf(file)).ends_with(".partial.emlx"); }

std::filesystem::path attachmentsFolder(const std::filesystem::path& file) {
    return file.parent_path().parent_path() / "Attachments" / number(file);
}

}   // namespace ostrel::Emlx
