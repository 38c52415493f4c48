#pragma once

#include "bench/Inputs.h"
#include "platform/Bytes.h"

#include <string>
#include <vector>

// Messages as they arrive: 40 header fields with Received lines, encoded words and long recipients.
namespace ostrel::bench {

inline std::string headers() {
    std::string result;
    for (int i = 0; i < 12; ++i) {
        result +=
            "Received: from mx" + std::to_string(i) +
            ".example.net (mx.example.net [192.0.2.7])\r\n\tby in.example.com (Postfix) with ESMTPS id 4Tq0000000\r\n"
            "\tfor <kim@example.com>; Tue,  5 Mar 2024 10:00:00 +0100 (CET)\r\n";
    }
    for (int i = 0; i < 16; ++i) {
        result += "X-Header-" + std::to_string(i) + ": v=1; a=rsa-sha256; c=relaxed/relaxed; d=example.net; s=2024\r\n";
    }
    result +=
        "From: =?utf-8?q?Ren=C3=A9e?= <renee@example.net>\r\nTo: Kim <kim@example.com>,\r\n lee@example.com\r\n"
        "Subject: =?utf-8?B?w4RuZGVydW5nIGRlciBUYWdlc29yZG51bmc=?=\r\n =?utf-8?q?_am_M=C3=A4rz?=\r\n"
        "Date: Tue, 5 Mar 2024 10:00:00 +0100\r\nMessage-ID: <20240305.1@example.net>\r\n"
        "In-Reply-To: <20240304.9@example.com>\r\nReferences: <20240304.8@example.com>\r\n"
        " <20240304.9@example.com>\r\nMIME-Version: 1.0\r\n";
    return result;
}

inline std::string shortText() {
    return headers() +
           "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
           "Gr=C3=BC=C3=9Fe aus =\r\nK=C3=B6ln\r\n";
}

inline std::string encodedHTML(std::size_t sizeBytes) {
    std::string result;
    while (result.size() < sizeBytes) {
        result +=
            "<td style=3D\"padding:0 8px;font:14px sans-serif\"><a href=3D\"https://exampl=\r\n"
            "e.net/read?id=3D1234\">N=C3=A4chste Seite</a></td><td width=3D\"40\">&nbsp;</td>\r\n";
    }
    return result;
}

inline std::string newsletter() {
    return headers() +
           "Content-Type: multipart/alternative; boundary=\"=_b\"\r\n\r\n--=_b\r\n"
           "Content-Type: text/plain; charset=utf-8\r\n\r\nplain\r\n--=_b\r\n"
           "Content-Type: text/html; charset=utf-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n" +
           encodedHTML(60'000) + "\r\n--=_b--\r\n";
}

inline std::string base64Lines(std::size_t sizeBytes) {
    std::string result;
    while (result.size() < sizeBytes) {
        result += "JVBERi0xLjQKJcOkw7zDtsOfCjIgMCBvYmoKPDwvTGVuZ3RoIDMgMCBSL0ZpbHRlci9GbGF0ZURl\r\n";
    }
    return result;
}

inline std::string withAttachment(std::size_t sizeBytes) {
    return headers() +
           "Content-Type: multipart/mixed; boundary=\"=_b\"\r\n\r\n--=_b\r\n"
           "Content-Type: text/plain; charset=utf-8\r\n\r\nplain\r\n--=_b\r\n"
           "Content-Type: application/pdf; name=\"a.pdf\"\r\nContent-Disposition: attachment; filename=\"a.pdf\"\r\n"
           "Content-Transfer-Encoding: base64\r\n\r\n" +
           base64Lines(sizeBytes) + "--=_b--\r\n";
}

inline std::string manyParts(int count) {
    auto result = headers() + "Content-Type: multipart/mixed; boundary=\"=_b\"\r\n\r\n";
    for (int i = 0; i < count; ++i) {
        result += "--=_b\r\nContent-Type: image/png; name=\"" + std::to_string(i) +
                  ".png\"\r\nContent-Transfer-Encoding: base64\r\n\r\niVBORw0KGgo=\r\n";
    }
    return result + "--=_b--\r\n";
}

inline std::vector<Bytes> one(const std::string& message) { return {Bytes(message)}; }

struct ParseInput {
    const char* name;
    std::vector<Bytes> (*messages)();
};
inline constexpr ParseInput parseInputs[] = {
    {"sample messages", [] { return storedMessages(); }},
    {"short text", [] { return one(shortText()); }},
    {"newsletter", [] { return one(newsletter()); }},
    {"attachment of 5 MB", [] { return one(withAttachment(5 << 20)); }},
    {"10,000 parts", [] { return one(manyParts(10'000)); }},
};

inline std::int64_t totalSize(const std::vector<Bytes>& messages) {
    std::int64_t size = 0;
    for (const Bytes& message : messages) size += static_cast<std::int64_t>(message.size());
    return size;
}

}   // namespace ostrel::bench
