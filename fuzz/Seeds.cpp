#include "fuzz/Seeds.h"

#include "core/mailstore/Emlx.h"
#include "platform/Files.h"
#include "sample/EmlBuilder.h"
#include "sample/SampleMail.h"
#include "tests/platform/Surroundings.h"

#include <filesystem>

namespace ostrel::fuzz {
namespace {

constexpr std::size_t seedBytes = 8 * 1024;

std::string shapes() {
    return EmlBuilder()
        .header("From", "\"Müller, Eva\" <eva@example.org>, kim@example.org; group: a@x.org, b@x.org;")
        .header("Subject", "日本語 and naïve 😀")
        .rawHeader("Content-Language", "=?utf-8*de?q?a_b?= =?iso-2022-jp?B?GyRCJCIbKEI=?=")
        .rawHeader("References", "<a@x.org> <b@x.org>\r\n\t<c@x.org>")
        .rawHeader("Date", "Tue, 5 Mar 2024 09:07:42 +0100 (CET)")
        .text("Hello =20 \n>From here\n", "iso-8859-15")
        .html(
            "<p style='x'>Hello <img src=\"cid:logo@x\" width=10 height=\"20\"><a "
            "href='https://x.org/?a=1&amp;b'>x</a></p>")
        .inlineImage("logo@x", "image/png", "\x89PNG", "logo.png")
        .attachment("Übersicht\n.pdf", "application/pdf", "%PDF")
        .part("Content-Type: message/rfc822\r\n", "Subject: inner\r\n\r\nbody")
        .part(
            "Content-Type: text/plain; name*0*=utf-8''a%20b; name*1=c; charset=\"utf-7\"\r\n"
            "Content-Transfer-Encoding: quoted-printable\r\n",
            "=C3=A4=\r\n=3D")
        .message();
}

}   // namespace

std::vector<std::string> messageFiles() {
    const ScratchFolder folder;
    SampleMail::write(folder.path());
    std::vector<std::string> found;
    files::walk(folder.path(), files::Hidden::include, [&](const files::Entry& entry) {
        if (entry.name.ends_with(".emlx")) {
            const Bytes file = files::readWhole(std::filesystem::path(entry.path.native()));
            if (file.size() <= seedBytes) found.emplace_back(file.chars());
        }
        return files::Walk::on;
    });
    found.push_back(EmlBuilder::emlx(shapes(), Instant{}));
    return found;
}

std::vector<std::string> messages() {
    std::vector<std::string> found;
    for (const std::string& file : messageFiles()) {
        try {
            found.emplace_back(Emlx::container(Bytes(file)).message.chars());
        } catch (const Emlx::ReadError&) {
            // The sample store's damaged file.
        }
    }
    return found;
}

}   // namespace ostrel::fuzz
