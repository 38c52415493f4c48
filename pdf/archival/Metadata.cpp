#include "pdf/archival/Metadata.h"

#include "pdf/archival/ColourProfile.h"
#include "pdf/content/Streams.h"
#include "platform/Text.h"

#include <algorithm>
#include <string_view>

#include <qpdf/QPDFObjectHandle.hh>

namespace ostrel::pdf {
namespace {

// A string has at most 32,767 bytes (ISO 19005-2 §6.1.13), two or four for each character.
constexpr std::size_t longestText = 8'000;

constexpr std::string_view program = "Ostrel";

// The characters that XML 1.0 has (§2.2), line breaks and tabs as blanks.
std::string sayable(std::string_view text) {
    std::string said;
    text = text::prefix(text, longestText);
    for (std::size_t at = 0; at < text.size();) {
        const auto [c, length] = text::decodeAt(text, at);
        at += length;
        const bool isNone = c < 0x20 || c == 0x7F || (c & 0xFFFE) == 0xFFFE || (c >= 0xFDD0 && c <= 0xFDEF);
        if (c == '\t' || c == '\n' || c == '\r')
            said += ' ';
        else
            text::append(said, isNone ? U'\uFFFD' : c);
    }
    return said;
}

std::string escaped(std::string_view text) {
    std::string xml;
    for (const char c : text) {
        if (c == '&')
            xml += "&amp;";
        else if (c == '<')
            xml += "&lt;";
        else if (c == '>')
            xml += "&gt;";
        else
            xml += c;
    }
    return xml;
}

// "2024-03-05T09:07:42Z"; empty for years that have not four digits.
std::string dateOf(const std::optional<Instant>& when) {
    auto iso = when ? isoUTC(*when) : "";
    return iso.size() == std::string_view("2024-03-05T09:07:42Z").size() && iso[0] != '-' ? iso : "";
}

// "D:20240305090742Z" (ISO 32000-1 §7.9.4)
std::string pdfDate(std::string iso) {
    if (iso.empty()) return {};
    std::erase_if(iso, [](char c) { return c == '-' || c == ':' || c == 'T'; });
    return "D:" + iso;
}

// The claim to be PDF/UA-1, and what its property is, which PDF/A wants to be told (ISO 19005-2 §6.6.2.3).
constexpr std::string_view accessibleClaim =
    "<pdfuaid:part>1</pdfuaid:part><pdfaExtension:schemas><rdf:Bag><rdf:li rdf:parseType=\"Resource\">"
    "<pdfaSchema:schema>PDF/UA</pdfaSchema:schema>"
    "<pdfaSchema:namespaceURI>http://www.aiim.org/pdfua/ns/id/</pdfaSchema:namespaceURI>"
    "<pdfaSchema:prefix>pdfuaid</pdfaSchema:prefix><pdfaSchema:property><rdf:Seq><rdf:li rdf:parseType=\"Resource\">"
    "<pdfaProperty:name>part</pdfaProperty:name><pdfaProperty:valueType>Integer</pdfaProperty:valueType>"
    "<pdfaProperty:category>internal</pdfaProperty:category><pdfaProperty:description>part</pdfaProperty:description>"
    "</rdf:li></rdf:Seq></pdfaSchema:property></rdf:li></rdf:Bag></pdfaExtension:schemas>";

std::string xmpPacket(const Description& said, const std::string& date) {
    std::string xmp =
        "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>"
        "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
        "<rdf:Description rdf:about=\"\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
        "xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\" xmlns:pdf=\"http://ns.adobe.com/pdf/1.3/\"";
    if (said.isArchival) xmp += " xmlns:pdfaid=\"http://www.aiim.org/pdfa/ns/id/\"";
    if (said.isAccessible) {
        xmp +=
            " xmlns:pdfuaid=\"http://www.aiim.org/pdfua/ns/id/\""
            " xmlns:pdfaExtension=\"http://www.aiim.org/pdfa/ns/extension/\""
            " xmlns:pdfaSchema=\"http://www.aiim.org/pdfa/ns/schema#\""
            " xmlns:pdfaProperty=\"http://www.aiim.org/pdfa/ns/property#\"";
    }
    xmp += ">";
    const auto add = [&](std::string_view opening, std::string_view value, std::string_view closing) {
        if (!value.empty()) xmp.append(opening).append(escaped(value)).append(closing);
    };
    add("<dc:title><rdf:Alt><rdf:li xml:lang=\"x-default\">", said.title, "</rdf:li></rdf:Alt></dc:title>");
    add("<dc:creator><rdf:Seq><rdf:li>", said.author, "</rdf:li></rdf:Seq></dc:creator>");
    add("<xmp:CreatorTool>", program, "</xmp:CreatorTool>");
    add("<pdf:Producer>", program, "</pdf:Producer>");
    add("<xmp:CreateDate>", date, "</xmp:CreateDate>");
    if (said.isArchival) xmp += "<pdfaid:part>2</pdfaid:part><pdfaid:conformance>U</pdfaid:conformance>";
    if (said.isAccessible) xmp += accessibleClaim;
    return xmp + "</rdf:Description></rdf:RDF></x:xmpmeta><?xpacket end=\"r\"?>";
}

// What colours mean that are given by the device's own amounts of red, green and blue (ISO 32000-1 §14.11.5).
void addOutputIntent(QPDF& file) {
    auto profile = QPDFObjectHandle::newStream(&file);
    static const std::string packed = zlib::deflate(sRGBProfile(), zlib::Effort::best);
    profile.replaceStreamData(packed, QPDFObjectHandle::newName("/FlateDecode"), QPDFObjectHandle::newNull());
    profile.getDict().replaceKey("/N", QPDFObjectHandle::newInteger(3));
    auto intent = QPDFObjectHandle::parse(
        "<< /Type /OutputIntent /S /GTS_PDFA1 /OutputConditionIdentifier (sRGB IEC61966-2.1) /Info (sRGB) >>");
    intent.replaceKey("/DestOutputProfile", profile);
    auto intents = QPDFObjectHandle::newArray();
    intents.appendItem(intent);
    file.getRoot().replaceKey("/OutputIntents", intents);
}

}   // namespace

void describe(QPDF& file, const Description& description) {
    auto said = description;
    said.title = sayable(said.title);
    said.author = sayable(said.author);
    const auto date = dateOf(said.created);

    auto info = QPDFObjectHandle::newDictionary();
    const auto put = [&](const char* key, std::string_view value) {
        if (!value.empty()) info.replaceKey(key, QPDFObjectHandle::newUnicodeString(std::string(value)));
    };
    put("/Title", said.title);
    put("/Author", said.author);
    put("/Creator", program);
    put("/Producer", program);
    put("/CreationDate", pdfDate(date));
    file.getTrailer().replaceKey("/Info", file.makeIndirectObject(info));

    auto root = file.getRoot();
    // PDF/UA wants a language; "und" says that it is not known (BCP 47, ISO 639-2).
    if (said.language.empty() && said.isAccessible) said.language = "und";
    if (!said.language.empty()) root.replaceKey("/Lang", QPDFObjectHandle::newUnicodeString(said.language));
    if (!said.title.empty())
        root.replaceKey("/ViewerPreferences", QPDFObjectHandle::parse("<< /DisplayDocTitle true >>"));
    auto metadata = QPDFObjectHandle::newStream(&file);
    replaceDeflated(metadata, zlib::deflate(xmpPacket(said, date), zlib::Effort::good));
    metadata.setFilterOnWrite(false);   // libqpdf would unpack metadata, as PDF/A-1 wanted it
    metadata.getDict().replaceKey("/Type", QPDFObjectHandle::newName("/Metadata"));
    metadata.getDict().replaceKey("/Subtype", QPDFObjectHandle::newName("/XML"));
    root.replaceKey("/Metadata", metadata);
    addOutputIntent(file);
}

}   // namespace ostrel::pdf
