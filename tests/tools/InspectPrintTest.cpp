#include "platform/Files.h"
#include "sample/EmlBuilder.h"
#include "tests/platform/Surroundings.h"
#include "tests/tools/Program.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ostrel {
namespace {

using nlohmann::json;

class InspectPrintTest : public testing::Test {
protected:
    InspectPrintTest() {
        EmlBuilder mail;
        mail.header("From", "Mara <mara@example.com>").header("Subject", "Hello");
        mail.html("<p>Some words and <a href='https://example.com/'>a link</a>");
        files::writeAtomically(scratch_ / "1.emlx", bytesOf(mail.emlx(Instant{})));
    }

    // What is told of the message by a run without some of the overrides, and what the log has about them.
    struct Told {
        json answer;
        std::vector<std::string> log;
        std::map<std::string, std::string> effects;
    };
    Told told(const std::string& without) {
        Program program({"/usr/bin/env", "-u", "DISPLAY", "-u", "WAYLAND_DISPLAY", "G_MESSAGES_DEBUG=ostrel",
                         "OSTREL_WITHOUT=" + without, INSPECT_PROGRAM, "print", scratch_ / "1.emlx"},
                        scratch_.path());
        EXPECT_EQ(program.wait(), 0) << without << program.errors();
        Told found{json::parse(program.output(), nullptr, false), {}, {}};
        for (const auto& each : found.answer.value("overrides", json::array()))
            found.effects[each.value("name", "")] = each.value("effect", "");
        const std::string errors = program.errors();
        static const std::regex line("without [a-z-]+: .*");   // GLib's own lines may be without something, too
        for (std::sregex_iterator at(errors.begin(), errors.end(), line), end; at != end; ++at)
            found.log.push_back(at->str());
        return found;
    }

    ScratchFolder scratch_;
};

TEST_F(InspectPrintTest, TellsWhatAMessageTakes) {
    const Told whole = told("");
    for (const char* key : {"pageBytes", "printedBytes", "finishedBytes", "pages", "links", "attempts"})
        EXPECT_GE(whole.answer.value(key, 0), 1) << key << whole.answer;
    EXPECT_GT(whole.answer["engineMilliseconds"].value("print", 0.0), 0.0);
    EXPECT_EQ(whole.log, std::vector<std::string>());
}

// Every override makes something faster, smaller or surer, and nothing else: one that is taken away is told of, once,
// and the same message comes out. A missing one would look just like that to everybody but the log.
TEST_F(InspectPrintTest, EverythingWorksWithoutAnyOneOverride) {
    const Told whole = told("");
    for (const char* name : {"stored-streams", "reduced-fonts", "no-drawing", "few-arenas", "no-compiler",
                             "no-services", "engine-starts", "page-setup"}) {
        auto expected = whole.effects;
        ASSERT_TRUE(expected.contains(name)) << name;
        EXPECT_NE(expected[name], "missing") << name;
        expected[name] = "takenAway";
        const Told without = told(name);
        EXPECT_EQ(without.effects, expected) << name;
        EXPECT_EQ(without.log, std::vector{"without " + std::string(name) + ": taken away"});
        EXPECT_EQ(without.answer["pages"], whole.answer["pages"]) << name;
        EXPECT_EQ(without.answer["links"], whole.answer["links"]) << name;
    }
}

// ostrel-inspect as it is where the engine was left out of the build.
TEST_F(InspectPrintTest, SaysWhenItWasBuiltWithoutTheEngine) {
    std::filesystem::create_directory(scratch_ / "bin");
    std::filesystem::copy_file(INSPECT_PROGRAM, scratch_ / "bin/ostrel-inspect");
    Program program({scratch_ / "bin/ostrel-inspect", "print", scratch_ / "1.emlx"}, scratch_.path());
    EXPECT_EQ(program.wait(), 2);
    EXPECT_EQ(program.errors(), "ostrel-inspect: built without the engine that prints\n");
    EXPECT_EQ(program.output(), "");
}

}   // namespace
}   // namespace ostrel
