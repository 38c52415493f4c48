#include "sample/EmlBuilder.h"

#include "core/message/TransferEncoding.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdio>

#include <iconv.h>

namespace ostrel {

namespace {

constexpr std::size_t lineLength = 76;           // RFC 2045 section 6.7, rule 5
constexpr std::size_t encodedWordPayload = 45;   // keeps an encoded word within 75 characters (RFC 2047 section 2)

bool isASCII(std::string_view s) {
    return std::ranges::all_of(s, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string base64Lines(std::string_view bytes) {
    constexpr std::size_t bytesPerLine = lineLength / 4 * 3;
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += bytesPerLine) {
        out += TransferEncoding::encodeBase64(bytesOf(bytes.substr(i, bytesPerLine)));
        out += "\r\n";
    }
    return out;
}

std::string hexEscape(char escape, char c) {
    char text[4];
    std::snprintf(text, sizeof text, "%c%02X", escape, static_cast<unsigned>(static_cast<unsigned char>(c)));
    return text;
}

// Quoted-printable with soft line breaks (RFC 2045 section 6.7); the text's line ends are LF and become CR LF.
std::string quotedPrintable(std::string_view text) {
    std::string out;
    std::size_t column = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\n') {
            out += "\r\n";
            column = 0;
            continue;
        }
        const bool endsLine = i + 1 == text.size() || text[i + 1] == '\n';
        const bool plain = (c > ' ' && c < 0x7F && c != '=') || ((c == ' ' || c == '\t') && !endsLine);
        const std::string unit = plain ? std::string(1, c) : hexEscape('=', c);
        if (column + unit.size() >= lineLength) {
            out += "=\r\n";
            column = 0;
        }
        out += unit;
        column += unit.size();
    }
    return out;
}

std::string withCRLF(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if (c == '\n') out += '\r';
        out += c;
    }
    return out;
}

// The text in another charset, as the sender's program would write it. Characters it lacks become "?".
std::string encoded(std::string_view utf8, std::string_view charset) {
    if (charset == "utf-8") return std::string(utf8);
    const iconv_t converter = iconv_open((std::string(charset) + "//TRANSLIT").c_str(), "UTF-8");
    assert(converter != reinterpret_cast<iconv_t>(-1));
    std::string input(utf8), out(utf8.size() * 4 + 16, '\0');
    char* from = input.data();
    char* to = out.data();
    std::size_t left = input.size(), room = out.size();
    iconv(converter, &from, &left, &to, &room);
    iconv(converter, nullptr, nullptr, &to, &room);   // back to the initial shift state
    iconv_close(converter);
    out.resize(out.size() - room);
    return out;
}

// Encoded words over whole characters, one a line (RFC 2047 section 2).
std::string encodedWords(std::string_view utf8) {
    std::string out;
    for (std::size_t start = 0; start < utf8.size();) {
        std::size_t end = start;
        while (end < utf8.size()) {
            const std::size_t next = end + text::decodeAt(utf8, end).length;
            if (next - start > encodedWordPayload) break;
            end = next;
        }
        if (!out.empty()) out += "\r\n ";
        out += "=?utf-8?B?" + TransferEncoding::encodeBase64(bytesOf(utf8.substr(start, end - start))) + "?=";
        start = end;
    }
    return out;
}

// A field value for the wire: names and subjects that are not ASCII become encoded words, addresses in angle brackets
// stay.
std::string headerValue(std::string_view value) {
    if (isASCII(value)) return std::string(value);
    std::string out;
    std::size_t start = 0;
    while (start < value.size()) {
        const std::size_t address = value.find(" <", start);
        if (address == std::string_view::npos) break;
        const std::size_t close = value.find('>', address);
        if (close == std::string_view::npos) break;
        const std::size_t next = std::min(value.find_first_not_of(", ", close + 1), value.size());
        const std::string_view name = value.substr(start, address - start);
        out += isASCII(name) ? std::string(name) : encodedWords(name);
        out += value.substr(address, next - address);
        start = next;
    }
    if (start < value.size()) out += encodedWords(value.substr(start));
    return out;
}

EmlBuilder::Part textPart(std::string_view type, std::string_view utf8, std::string_view charset) {
    const std::string bytes = encoded(utf8, charset);
    const auto eightBit = std::ranges::count_if(bytes, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    EmlBuilder::Part part;
    part.headers = "Content-Type: " + std::string(type) + "; charset=" + std::string(charset) + "\r\n";
    const bool shortLines = [&] {
        std::size_t start = 0, longest = 0;
        for (std::size_t end; (end = bytes.find('\n', start)) != std::string::npos; start = end + 1) {
            longest = std::max(longest, end - start);
        }
        return std::max(longest, bytes.size() - start) <= lineLength;
    }();
    if (eightBit == 0 && shortLines) {
        part.headers += "Content-Transfer-Encoding: 7bit\r\n";
        part.body = withCRLF(bytes);
    } else if (static_cast<std::size_t>(eightBit) * 6 > bytes.size()) {
        part.headers += "Content-Transfer-Encoding: base64\r\n";
        part.body = base64Lines(withCRLF(bytes));
    } else {
        part.headers += "Content-Transfer-Encoding: quoted-printable\r\n";
        part.body = quotedPrintable(bytes);
    }
    return part;
}

// The parameter as senders write it: quoted ASCII, else percent-encoded UTF-8 (RFC 2231 section 4).
std::string parameter(std::string_view name, std::string_view value) {
    std::string out = ";\r\n " + std::string(name);
    if (isASCII(value)) return out + "=\"" + std::string(value) + "\"";
    out += "*=utf-8''";
    for (const char c : value) {
        const bool plain =
            (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' || c == '-';
        out += plain ? std::string(1, c) : hexEscape('%', c);
    }
    return out;
}

EmlBuilder::Part filePart(std::string_view disposition, std::string_view filename, std::string_view mimeType,
                          std::string_view moreHeaders, std::string_view bytes) {
    const std::string name = filename.empty() ? "" : parameter("filename", filename);
    return {"Content-Type: " + std::string(mimeType) + (filename.empty() ? "" : parameter("name", filename)) +
                "\r\nContent-Disposition: " + std::string(disposition) + name +
                "\r\nContent-Transfer-Encoding: base64\r\n" + std::string(moreHeaders),
            base64Lines(bytes)};
}

// Wraps the parts in a multipart. The boundary holds "=_", which neither base64 nor quoted-printable text can.
EmlBuilder::Part multipart(std::string_view subtype, const std::vector<EmlBuilder::Part>& parts) {
    const std::string boundary = "=_ostrel_" + std::string(subtype);
    EmlBuilder::Part whole;
    whole.headers = "Content-Type: multipart/" + std::string(subtype) + ";\r\n boundary=\"" + boundary + "\"\r\n";
    for (const EmlBuilder::Part& part : parts) {
        whole.body += "--" + boundary + "\r\n" + part.headers + "\r\n" + part.body + "\r\n";
    }
    whole.body += "--" + boundary + "--\r\n";
    return whole;
}

}   // namespace

EmlBuilder& EmlBuilder::header(std::string_view name, std::string_view value) {
    return rawHeader(name, headerValue(value));
}

EmlBuilder& EmlBuilder::rawHeader(std::string_view name, std::string_view bytes) {
    headers_ += std::string(name) + ": " + std::string(bytes) + "\r\n";
    return *this;
}

EmlBuilder& EmlBuilder::date(Instant when, int offsetMinutes) {
    static constexpr std::array weekdays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr std::array months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    using namespace std::chrono;
    const auto local = when + minutes(offsetMinutes);
    const auto day = floor<days>(local);
    const DateComponents c = Calendar::utc().components(local);
    const int offset = std::abs(offsetMinutes);
    char value[64];
    std::snprintf(value, sizeof value, "%s, %02d %s %04d %02d:%02d:%02d %c%02d%02d",
                  weekdays[weekday(day).c_encoding()], c.date.day, months[static_cast<std::size_t>(c.date.month - 1)],
                  c.date.year, c.hour, c.minute, c.second, offsetMinutes < 0 ? '-' : '+', offset / 60, offset % 60);
    return rawHeader("Date", value);
}

EmlBuilder& EmlBuilder::text(std::string_view utf8, std::string_view charset) {
    text_ = textPart("text/plain", utf8, charset);
    return *this;
}

EmlBuilder& EmlBuilder::html(std::string_view utf8, std::string_view charset) {
    html_ = textPart("text/html", utf8, charset);
    return *this;
}

EmlBuilder& EmlBuilder::inlineImage(std::string_view contentID, std::string_view mimeType, std::string_view bytes,
                                    std::string_view filename) {
    inlineImages_.push_back(
        filePart("inline", filename, mimeType, "Content-ID: <" + std::string(contentID) + ">\r\n", bytes));
    return *this;
}

EmlBuilder& EmlBuilder::attachment(std::string_view filename, std::string_view mimeType, std::string_view bytes) {
    attachments_.push_back(filePart("attachment", filename, mimeType, "", bytes));
    return *this;
}

EmlBuilder& EmlBuilder::part(std::string_view headers, std::string_view body) {
    attachments_.push_back({std::string(headers), std::string(body)});
    return *this;
}

EmlBuilder& EmlBuilder::storedAttachment(std::string_view filename, std::string_view mimeType, std::size_t size) {
    attachments_.push_back(
        filePart("attachment", filename, mimeType, "X-Apple-Content-Length: " + std::to_string(size) + "\r\n", ""));
    return *this;
}

std::string EmlBuilder::message() const {
    std::optional<Part> body = html_;
    if (body && !inlineImages_.empty()) {
        std::vector<Part> related = {*body};
        related.insert(related.end(), inlineImages_.begin(), inlineImages_.end());
        body = multipart("related", related);
    }
    if (text_) body = body ? multipart("alternative", {*text_, *body}) : *text_;
    if (!body) body = Part{"Content-Type: text/plain\r\n", ""};
    if (!attachments_.empty()) {
        std::vector<Part> mixed = {*body};
        mixed.insert(mixed.end(), attachments_.begin(), attachments_.end());
        body = multipart("mixed", mixed);
    }
    return headers_ + "MIME-Version: 1.0\r\n" + body->headers + "\r\n" + body->body;
}

std::string EmlBuilder::emlx(Instant dateReceived, std::int64_t flags) const {
    return emlx(message(), dateReceived, flags);
}

std::string EmlBuilder::emlx(std::string_view message, Instant dateReceived, std::int64_t flags) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(dateReceived).time_since_epoch().count();
    return std::to_string(message.size()) + "        \n" + std::string(message) +
           "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n<dict>\n\t<key>date-received</key>\n\t<integer>" +
           std::to_string(seconds) + "</integer>\n\t<key>flags</key>\n\t<integer>" + std::to_string(flags) +
           "</integer>\n</dict>\n</plist>\n";
}

}   // namespace ostrel
