#include "core/message/Charset.h"
#include "core/message/TransferEncoding.h"
#include "fuzz/Target.h"

namespace ostrel::fuzz {

// The first line is the charset's label.
void run(ByteView input) {
    const Bytes body = Bytes::copyOf(input);
    for (const char* encoding : {"base64", "quoted-printable", " BASE64 ", "8bit", "x-uuencode"}) {
        holds(TransferEncoding::decode(body, encoding).size() <= input.size(), "decoding adds nothing");
    }
    holds(TransferEncoding::base64(bytesOf(TransferEncoding::encodeBase64(input))) == charsOf(input),
          "what was encoded comes back");
    for (const auto underscore : {TransferEncoding::Underscore::literal, TransferEncoding::Underscore::space}) {
        holds(TransferEncoding::quotedPrintable(input, underscore).size() <= input.size(), "decoding adds nothing");
    }

    const std::string_view chars = charsOf(input);
    const std::size_t lineEnd = std::min(chars.find('\n'), chars.size());
    const std::string_view label = chars.substr(0, lineEnd);
    const ByteView text = input.subspan(std::min(lineEnd + 1, input.size()));
    const std::string decoded = Charset::decode(text, label);
    isValidText(decoded, "decoded text");
    // Some charsets have single bytes for several characters (TSCII and Vietnamese ones).
    holds(decoded.size() <= 16 * (text.size() + 1), "text comes from its bytes");
    isValidText(Charset::decode(input, std::nullopt), "text of an unknown charset");
}

std::vector<std::string> seeds() {
    std::vector<std::string> texts = {"SGVsbG8gV29ybGQh\r\nSGVsbG8=\r\n", "a=C3=A4=\r\nb=3D_c \r\n=zz="};
    for (const char* label :
         {"utf-8",          "us-ascii", "iso-8859-1",  "iso-8859-16", "windows-1252", "windows-1251",
          "koi8-r",         "gb2312",   "gbk",         "gb18030",     "big5",         "big5-hkscs",
          "shift_jis",      "euc-jp",   "iso-2022-jp", "iso-2022-kr", "iso-2022-cn",  "euc-kr",
          "ks_c_5601-1987", "utf-7",    "utf-16",      "utf-16le",    "utf-32be",     "hz-gb-2312",
          "viscii",         "tis-620",  "macintosh",   "ibm850",      "\"utf-8'de\""}) {
        texts.push_back(std::string(label) + "\nText \xE4\xF6\xFC \xA4\xA2 \x1B$B$\"\x1B(B +AOQ- ~{VPND~} \xC2\xE4");
    }
    return texts;
}

}   // namespace ostrel::fuzz
