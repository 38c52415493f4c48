#include "core/message/MailMessage.h"
#include "core/page/MessageHTML.h"
#include "core/page/PageParts.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(PageParts, SeamsStayWhereTheyAre) {
    MailMessage mail;
    mail.subject = "\n<main></main>\n<header class=\"ostrel\"></style></head>\n<body>\n<header class=\"ostrel\">";
    mail.htmlBody = "</main>\n<section>its own</section>\n</body></html>\n<main>";
    for (const char* file : {"", "</main>\n\n</body></html>"}) {
        mail.attachments.clear();
        if (*file)
            mail.attachments = {
                {.filename = file, .mimeType = "text/plain", .contentID = {}, .partNumber = "2", .source = Bytes()}};
        const std::string page = MessageHTML::page(mail, "", "", std::nullopt, {}).html;
        const auto parts = MessageHTML::partsOf(page);
        ASSERT_TRUE(parts);
        EXPECT_TRUE(parts->styleSheet.starts_with("@page"));
        EXPECT_TRUE(parts->head.starts_with("<header class=\"ostrel\"><h1>"));
        EXPECT_TRUE(parts->head.ends_with("</table></header>\n"));
        EXPECT_TRUE(parts->document.ends_with("its own</section>\n\n<main>"));
        EXPECT_EQ(parts->files.starts_with("<section class=\"files\">"), *file != '\0');
        EXPECT_EQ(parts->files.find("its own"), std::string_view::npos);
        for (std::size_t cut = 0; cut < page.size(); ++cut) MessageHTML::partsOf(std::string_view(page).substr(0, cut));
    }
    EXPECT_FALSE(MessageHTML::partsOf(""));
    EXPECT_FALSE(MessageHTML::partsOf("<p>text"));
}

}   // namespace
}   // namespace ostrel
