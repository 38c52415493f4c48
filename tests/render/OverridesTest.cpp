#include "platform/Environment.h"
#include "platform/Files.h"
#include "render/engine/OverrideEffects.h"
#include "render/engine/WebProcess.h"
#include "render/overrides/Register.h"
#include "tests/render/Printing.h"

#include <algorithm>
#include <set>
#include <string>

namespace ostrel {
namespace {

using namespace overrides;

std::string readmeSection(const Entry& entry) {
    std::string text = "\n## " + std::string(entry.name) + "\n\n";
    text += "- **Replaces:** " + std::string(entry.replaces) + ".\n";
    text += "- **Seen to work with:** " + std::string(entry.seenWith) + ".\n";
    text += "- **Without it:** " + std::string(entry.cures) + "\n";
    text += "- **Noticed by:** `" + std::string(entry.test) + "`\n";
    if (!entry.isOptional) text += "- Cannot be taken away.\n";
    return text;
}

TEST(Overrides, AreToldInTheReadmeAsInTheRegister) {
    std::string expected;
    for (const Entry& entry : all()) expected += readmeSection(entry);
    const std::string readme(files::readWhole(OVERRIDES_README).chars());
    const auto begin = readme.find("\n## ");
    ASSERT_NE(begin, std::string::npos);
    EXPECT_EQ(readme.substr(begin), expected);
}

// Every test here runs with an engine already set up.
TEST(Overrides, IncludeEveryVariableThatIsChanged) {
    const auto& changed = environment::usersOwn();
    EXPECT_GE(changed.size(), 15U);
    for (const auto& [variable, before] : changed) {
        EXPECT_TRUE(std::ranges::any_of(all(), [&name = variable](const Entry& entry) {
            return entry.replaces.find(name) != entry.replaces.npos;
        })) << variable;
    }
}

// An engine that no longer takes one of them is noticed here; that of Debian 13 asks for no driver to begin with.
TEST_F(Printing, ShowsThatEveryOverrideTakesEffect) {
    print("<p style='font-family:sans-serif'>Some words");
    const auto process = webProcess::current();
    const bool canLook = process && !webProcess::environmentOf(*process).empty();
    for (const Status& status : statuses()) {
        const Entry& of = entry(status.which);
        const bool needsLook = of.test == "Printing.ShowsThatEveryOverrideTakesEffect" ||
                               status.which == Override::noDrawing;   // a sandbox may hide its processes
        if (of.isOptional && (canLook || !needsLook)) {
            EXPECT_TRUE(status.effect == Effect::active || status.effect == Effect::notNeeded)
                << of.name << " is " << nameOf(status.effect) << ": " << status.reason;
        }
    }
}

TEST(OverrideEffects, AreReadFromWhatTheEnginePrinted) {
    const struct {
        const char* why;
        const char* printed;
        bool isPacked;
        std::set<std::uintmax_t> sizes;
    } rows[] = {
        {"nothing", "", false, {}},
        {"stored", "<</Length1 1200 /Length 1200>> stream", false, {1200}},
        {"packed", "<</Filter /FlateDecode /Length1 77 /Length 40>> <</Length1 9>>", true, {77, 9}},
        {"a size cut short", "<</Length1 ", false, {0}},
        {"larger than any", "<</Length1 99999999999999999999999>>", false, {0}},
    };
    for (const auto& [why, printed, isPacked, sizes] : rows) {
        EXPECT_EQ(overrideEffects::hasPackedStreams(bytesOf(printed)), isPacked) << why;
        EXPECT_EQ(overrideEffects::fontSizes(bytesOf(printed)), sizes) << why;
    }
}

}   // namespace
}   // namespace ostrel
