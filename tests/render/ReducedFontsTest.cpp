#include "fonts/InstalledFonts.h"
#include "platform/Files.h"
#include "platform/TemporaryFolder.h"
#include "render/engine/ReducedFonts.h"
#include "render/loop/GRef.h"
#include "render/loop/MainLoop.h"
#include "render/print/PagePrinter.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <variant>

#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

using ConfigPtr = std::unique_ptr<FcConfig, Releaser<FcConfigDestroy>>;
using PatternPtr = std::unique_ptr<FcPattern, Releaser<FcPatternDestroy>>;

const FcChar8* fcText(const char* text) { return reinterpret_cast<const FcChar8*>(text); }

struct Found {
    std::string family;
    fs::path file;
    PatternPtr pattern;

    bool has(FcChar32 character) const {
        FcCharSet* characters = nullptr;
        return FcPatternGetCharSet(pattern.get(), FC_CHARSET, 0, &characters) == FcResultMatch &&
               FcCharSetHasChar(characters, character);
    }
};

Found find(FcConfig* config, const char* name) {
    const PatternPtr wanted(FcNameParse(fcText(name)));
    FcConfigSubstitute(config, wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultNoMatch;
    PatternPtr pattern(FcFontMatch(config, wanted.get(), &result));
    FcChar8 *family = nullptr, *file = nullptr;
    FcPatternGetString(pattern.get(), FC_FAMILY, 0, &family);
    FcPatternGetString(pattern.get(), FC_FILE, 0, &file);
    return {reinterpret_cast<char*>(family), reinterpret_cast<char*>(file), std::move(pattern)};
}

ConfigPtr configurationIn(const fs::path& folder) {
    ConfigPtr config(FcConfigCreate());
    EXPECT_TRUE(FcConfigParseAndLoad(config.get(), fcText((folder / "fonts.conf").c_str()), FcTrue));
    EXPECT_TRUE(FcConfigBuildFonts(config.get()));
    return config;
}

// Asks about the system's fonts although the engine of this process has been given the reduced ones.
class ReducedFonts : public testing::Test {
protected:
    ReducedFonts() { unsetenv(variable); }
    ~ReducedFonts() override {
        if (const auto& folder = reducedFonts::providedFolder()) setenv(variable, (*folder / "fonts.conf").c_str(), 1);
    }

private:
    static constexpr const char* variable = "FONTCONFIG_FILE";
};

TEST_F(ReducedFonts, StandForTheSystemsOwn) {
    const TemporaryFolder cache("ostrel-test-&-");   // a name that wants escaping
    const auto folder = reducedFonts::folderIn(cache.path());
    ASSERT_TRUE(folder);
    const ConfigPtr system(FcInitLoadConfigAndFonts()), ours = configurationIn(*folder);
    struct Row {
        const char* why;
        const char* name;
        std::u32string_view characters;
    };
    const std::array rows{
        Row{"office in a text whose ligatures are looked up", "Arial", U"o\uFB00\uFB01\uFB02\uFB03\uFB04\uFB05\uFB06"},
        Row{"a bold face has its own file", "Arial:bold", U"\u20ACßñЖΩ"},
        Row{"serifs, accents as marks of their own", "Times New Roman:italic", U"e\u0301\u0327"},
        Row{"boxes and ticks in plain text", "monospace", U"│┼█→✓☐⚠"},
        Row{"Vietnamese, polytonic Greek, phonetics: words stay in one font", "sans-serif", U"ế\u1F00\u0259\u0301"},
    };
    for (const auto& [why, name, characters] : rows) {
        const Found whole = find(system.get(), name), reduced = find(ours.get(), name);
        EXPECT_EQ(reduced.file.parent_path(), *folder / "faces") << why;
        EXPECT_EQ(reduced.family, whole.family) << why;
        EXPECT_LT(files::size(reduced.file), files::size(whole.file)) << why;
        for (const char32_t c : characters) EXPECT_EQ(reduced.has(c), whole.has(c)) << why << ' ' << std::hex << +c;
    }
    const Found rare = find(ours.get(), "sans-serif:charset=1d00");
    EXPECT_TRUE(rare.has(0x1D00));
    EXPECT_NE(rare.file.parent_path(), *folder / "faces") << "what is left out is found in the whole fonts";
}

// Whichever font would be taken without them, portions may only stand for that one.
TEST_F(ReducedFonts, HaveEastAsianTextInPortions) {
    const TemporaryFolder cache("ostrel-test-");
    const auto folder = reducedFonts::folderIn(cache.path());
    ASSERT_TRUE(folder);
    const ConfigPtr system(FcInitLoadConfigAndFonts()), ours = configurationIn(*folder);
    if (fonts::eastAsianFaces(system.get()).empty()) GTEST_SKIP() << "no large East Asian font here";
    struct Row {
        const char* why;
        const char* asked;
        bool isPortion = true;
        const char* asKnown = nullptr;   // what the system has no name for
    };
    const std::array rows{
        Row{"text of no language: Japanese", ":charset=306e"},
        Row{"text of no language: simplified Chinese", ":charset=4eec"},
        Row{"text of no language: Korean", ":charset=ac00"},
        Row{"Japanese, bold", ":lang=ja:bold:charset=65e5"},
        Row{"Korean", ":lang=ko:charset=ac00"},
        Row{"Chinese of Taiwan", ":lang=zh-tw:charset=5011"},
        Row{"Chinese as the engine asks for it", ":lang=zh-hans:charset=4eec", true, ":lang=zh-cn:charset=4eec"},
        Row{"traditional Chinese as the engine asks for it", ":lang=zh-Hant:charset=5011", true,
            ":lang=zh-tw:charset=5011"},
        Row{"Chinese of a place without a font of its own", ":lang=zh-sg:charset=4eec", false},
        Row{"an ideograph that nobody uses", ":charset=9f98", false},
        Row{"a character of other fonts", ":charset=2603", false},
        Row{"a letter", ":charset=41", false},
    };
    for (const auto& [why, asked, isPortion, asKnown] : rows) {
        const Found whole = find(system.get(), asKnown ? asKnown : asked), found = find(ours.get(), asked);
        const bool has = found.file.filename().string().starts_with("portions-");
        EXPECT_EQ(has, isPortion) << why << ": " << found.file;
        EXPECT_EQ(found.family, whole.family) << why;
        const Found named = find(ours.get(), whole.family.c_str());
        EXPECT_FALSE(named.file.filename().string().starts_with("portions-")) << why << ": whole for who names it";
    }
}

TEST_F(ReducedFonts, AreMadeOnceByHoweverManyPrograms) {
    const TemporaryFolder cache("ostrel-test-");
    std::array<std::future<std::optional<fs::path>>, 3> programs;
    for (auto& program : programs)
        program = std::async(std::launch::async, [&] { return reducedFonts::folderIn(cache.path()); });
    std::set<std::optional<fs::path>> answers;
    for (auto& program : programs) answers.insert(program.get());
    ASSERT_EQ(answers.size(), 1U);
    const auto folder = *answers.begin();
    ASSERT_TRUE(folder);
    EXPECT_EQ(files::list(cache.path() / "ostrel").size(), 1U) << "nothing unfinished stays";

    const auto made = files::modificationDate(*folder / "fonts.conf");
    EXPECT_EQ(reducedFonts::folderIn(cache.path()), folder);
    EXPECT_EQ(files::modificationDate(*folder / "fonts.conf"), made) << "not made again";
}

TEST_F(ReducedFonts, ForFontsOfThePastGoOnlyWhenNobodyUsesThem) {
    const TemporaryFolder cache("ostrel-test-");
    const auto old = cache.path() / "ostrel/fonts-old", recent = cache.path() / "ostrel/fonts-recent",
               other = cache.path() / "ostrel/other";
    for (const auto& folder : {old, recent, other}) files::createFolders(folder / "faces");
    const auto longAgo = fs::file_time_type::clock::now() - std::chrono::hours(24 * 365);
    for (const auto& folder : {old, other}) fs::last_write_time(folder, longAgo);
    ASSERT_TRUE(reducedFonts::folderIn(cache.path()));
    EXPECT_FALSE(files::exists(old));
    EXPECT_TRUE(files::exists(recent));
    EXPECT_TRUE(files::exists(other)) << "not ours to remove";
}

TEST_F(ReducedFonts, AreDoneWithoutWhereTheyCannotBeMade) {
    const TemporaryFolder cache("ostrel-test-");
    std::ofstream(cache.path() / "ostrel") << "a file in the way";
    EXPECT_EQ(reducedFonts::folderIn(cache.path()), std::nullopt);
    EXPECT_EQ(reducedFonts::folderIn("/proc/self"), std::nullopt) << "nothing can be written there";

    const auto wreck = cache.path() / "wreck";
    const auto folder = reducedFonts::folderIn(wreck);
    ASSERT_TRUE(folder);
    fs::remove(*folder / "fonts.conf");
    EXPECT_EQ(reducedFonts::folderIn(wreck), std::nullopt) << "without its configuration it would hide all fonts";
}

// The sandbox hides the folder unless it is let through, and then the engine takes the whole fonts without a word.
TEST(ReducedFontsPrinting, ReachTheEngine) {
    const auto& folder = reducedFonts::providedFolder();
    ASSERT_TRUE(folder);
    const auto face = find(configurationIn(*folder).get(), "Arial").file;
    const TemporaryFolder output("ostrel-test-");
    const std::string html = "<!DOCTYPE html><p style='font-family:Arial'>office";
    std::promise<PrintOutcome> promise;
    std::shared_ptr<PagePrinter> printer;
    mainLoop::post([&] {
        printer = std::make_shared<PagePrinter>(paperSize(Paper::a4), PrintLimits{});
        printer->print(html, {}, output.path() / "page.pdf", std::chrono::minutes(1),
                       [&](PrintOutcome outcome) { promise.set_value(std::move(outcome)); });
    });
    const auto outcome = promise.get_future().get();
    std::promise<void> gone;
    mainLoop::post([&] {
        printer.reset();
        gone.set_value();
    });
    gone.get_future().get();
    ASSERT_TRUE(std::holds_alternative<PrintedPage>(outcome));
    const auto printed = files::readWhole(output.path() / "page.pdf");
    const auto length = "/Length1 " + std::to_string(files::size(face).value_or(0));
    EXPECT_NE(printed.chars().find(length), std::string_view::npos) << length;
}

}   // namespace
}   // namespace ostrel
