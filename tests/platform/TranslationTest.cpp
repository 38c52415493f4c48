#include "platform/Translation.h"
#include "tests/platform/Surroundings.h"

#include <clocale>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <map>
#include <string>

#include <gnu/libc-version.h>
#include <gtest/gtest.h>

namespace ostrel::i18n {
namespace {

using namespace std::string_literals;

// A catalogue in the GNU .mo format: header, table of keys, table of texts, the bytes.
std::string catalogue(const std::map<std::string, std::string>& texts) {
    std::string tables, bytes;
    const auto count = static_cast<std::uint32_t>(texts.size());
    const auto put = [](std::string& out, std::uint32_t word) {
        out.append(reinterpret_cast<const char*>(&word), sizeof word);
    };
    const auto entry = [&](const std::string& text) {
        put(tables, static_cast<std::uint32_t>(text.size()));
        put(tables, static_cast<std::uint32_t>(28 + 16 * count + bytes.size()));
        bytes += text + '\0';
    };
    for (const auto& [key, text] : texts) entry(key);
    for (const auto& [key, text] : texts) entry(text);
    std::string file;
    for (const std::uint32_t word : {0x950412deU, 0U, count, 28U, 28 + 8 * count, 0U, 28 + 16 * count}) put(file, word);
    return file + tables + bytes;
}

// Plurals as in English.
std::string englishCatalogue(std::map<std::string, std::string> texts) {
    texts[""] = "Content-Type: text/plain; charset=UTF-8\nPlural-Forms: nplurals=2; plural=(n != 1);\n";
    return catalogue(texts);
}

class TranslationTest : public testing::Test {
protected:
    ~TranslationTest() override { std::setlocale(LC_ALL, "C"); }

    void start(const std::map<std::string, std::string>& texts) {
        const auto folder = folder_ / "pl" / "LC_MESSAGES";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "ostrel.mo") << catalogue(texts);
        i18n::start(folder_.path());
    }

private:
    // A locale that the system need not have.
    EnvironmentVariable all_{"LC_ALL", "pl_PL.UTF-8"}, language_{"LANGUAGE", nullptr};
    ScratchFolder folder_;
};

TEST_F(TranslationTest, SpeaksTheLanguageAlsoWithoutItsLocale) {
    if (::strverscmp(::gnu_get_libc_version(), "2.41") >= 0)
        GTEST_SKIP() << "This C library translates nothing without the locale's own data.";
    start({{"",
            "Content-Type: text/plain; charset=UTF-8\n"
            "Plural-Forms: nplurals=3; plural=(n==1 ? 0 : n%10>=2 && n%10<=4 && (n%100<10 || n%100>=20) ? 1 : 2);\n"},
           {"%lld messages\0%lld messages"s, "%lld wiadomość\0%lld wiadomości\0%lld wiadomości!"s},
           {"Date", "Data"},
           {"%lld of %lld", "z %2$lld: %1$lld"}});
    EXPECT_EQ(tr("Date"), "Data");
    EXPECT_EQ(tr("Subject"), "Subject") << "not translated yet";
    EXPECT_EQ(tr(""), "") << "not the catalogue's header";
    EXPECT_EQ(trCount("%lld messages", 1), "1 wiadomość");
    EXPECT_EQ(trCount("%lld messages", 22), "22 wiadomości");
    EXPECT_EQ(trCount("%lld messages", 12345), "12\u00A0345 wiadomości!");
    EXPECT_EQ(filled(tr("%lld of %lld"), 3, 12345), "z 12\u00A0345: 3");
}

TEST_F(TranslationTest, IsEnglishWithoutACatalogue) {
    i18n::start(std::filesystem::path("/nowhere"));
    EXPECT_EQ(tr("Couldn’t be read"), "Couldn’t be read");
    EXPECT_EQ(trCount("%lld messages", 1), "1 messages");
}

TEST(Translation, IsThisSystemsEnglishWhereTheLanguageHasNoCatalogue) {
    const ScratchFolder folder;
    std::filesystem::create_directories(folder / "en/LC_MESSAGES");
    std::ofstream(folder / "en/LC_MESSAGES/ostrel.mo") << englishCatalogue(
        {{"%lld messages\0%lld messages"s, "%lld message\0%lld messages"s}, {"On My Mac", "On This Computer"}});
    const EnvironmentVariable language("LANGUAGE", nullptr);
    for (const char* locale : {"C", "POSIX", "C.UTF-8", "en_US.UTF-8", "fr_FR.UTF-8"}) {
        const EnvironmentVariable all("LC_ALL", locale);
        i18n::start(folder.path());
        EXPECT_EQ(tr("On My Mac"), "On This Computer") << locale;
        EXPECT_EQ(tr("Date"), "Date") << locale;
        EXPECT_EQ(tr(""), "") << locale;
        EXPECT_EQ(trCount("%lld messages", 1), "1 message") << locale;
        EXPECT_EQ(trCount("%lld messages", 2), "2 messages") << locale;
        unsetenv("LANGUAGE");   // that it may have set for itself
    }
    std::setlocale(LC_ALL, "C");
}

TEST(Translation, StaysWithItsKeysWhereTheCatalogueIsDamaged) {
    const std::string whole = catalogue({{"Date", "Day"}});
    for (std::size_t length = 0; length < whole.size() - 1; ++length) {   // the last byte ends the text
        const ScratchFolder folder;
        std::filesystem::create_directories(folder / "en/LC_MESSAGES");
        std::ofstream(folder / "en/LC_MESSAGES/ostrel.mo") << whole.substr(0, length);
        i18n::start(folder.path());
        EXPECT_EQ(tr("Date"), "Date") << length;
    }
    i18n::start(std::filesystem::path("/nowhere"));
}

TEST(Translation, FillsPlaceHoldersOnceAndKeepsTheRest) {
    const struct {
        const char* why;
        std::string text;
        std::string expected;
    } rows[] = {
        {"in order", "“%@”: %@.", "“50 %@ off”: b."},
        {"numbered", "%2$@ %1$@ %2$@", "b 50 %@ off b"},
        {"more than there are values", "%@ %@ %@ %3$@", "50 %@ off b %@ %3$@"},
        {"a per cent sign is text", "100% %% %1$ %d %", "100% %% %1$ %d %"},
        {"number and text are told apart by the caller", "%lld %0$@", "50 %@ off %0$@"},
    };
    for (const auto& row : rows) EXPECT_EQ(filled(row.text, "50 %@ off", "b"), row.expected) << row.why;
}

}   // namespace
}   // namespace ostrel::i18n
