#include "sample/SampleMail.h"

#include "sample/SampleMessages.h"

#include <cstdio>

namespace ostrel {

namespace sample {

std::string messageID(std::string_view key) { return "<" + std::string(key) + "@mail.lindqvist.example>"; }

EmlBuilder letter(std::string_view from, std::string_view to, std::string_view subject, Instant date,
                  std::string_view key) {
    EmlBuilder message;
    message.header("From", from).header("To", to).header("Subject", subject).date(date, 60);
    message.rawHeader("Message-ID", messageID(key));
    return message;
}

std::string tinyPDF(std::string_view asciiText) {
    const std::string content = "BT /F1 18 Tf 72 760 Td (" + std::string(asciiText) + ") Tj ET";
    const std::string objects[] = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R /Resources << /Font << /F1 5 0 R >> >> "
        ">>",
        "<< /Length " + std::to_string(content.size()) + " >>\nstream\n" + content + "\nendstream",
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
    };
    std::string pdf = "%PDF-1.4\n", table = "0000000000 65535 f \n";
    int number = 0;
    for (const std::string& object : objects) {
        char entry[24];
        std::snprintf(entry, sizeof entry, "%010zu 00000 n \n", pdf.size());
        table += entry;
        pdf += std::to_string(++number) + " 0 obj\n" + object + "\nendobj\n";
    }
    return pdf + "xref\n0 6\n" + table + "trailer << /Size 6 /Root 1 0 R >>\nstartxref\n" + std::to_string(pdf.size()) +
           "\n%%EOF\n";
}

}   // namespace sample

namespace SampleMail {

void write(const std::filesystem::path& folder, std::optional<std::size_t> count) {
    SampleStore store(folder);
    // Mail's own index, which the reader leaves alone.
    store.addOther("MailData/Envelope Index", "not a mail");
    if (count) {
        sample::addBulk(store, *count);
        return;
    }
    sample::addLetters(store);
    sample::addNewsletters(store);
    sample::addOddities(store);
}

}   // namespace SampleMail
}   // namespace ostrel
