#include "render/print/Capacity.h"
#include "tests/render/EngineProcess.h"
#include "tests/render/Printing.h"

#include <future>
#include <set>
#include <string>
#include <vector>

namespace ostrel {
namespace {

constexpr std::uint64_t gigabyte = std::uint64_t{1} << 30;

TEST(Capacity, FitsTheMachineAndTheWork) {
    const struct {
        const char* why;
        Machine machine;
        std::size_t pages, engines;
    } rows[] = {
        {"a core each", {8, 16 * gigabyte}, 300'000, 8},
        {"not for ten messages", {8, 16 * gigabyte}, 10, 1},
        {"nor for none", {8, 16 * gigabyte}, 0, 1},
        {"as many as pay", {8, 16 * gigabyte}, 350, 3},
        {"short of memory", {8, gigabyte}, 300'000, 2},
        {"no memory, or a system that does not tell", {8, 0}, 300'000, 1},
        {"one core", {1, 16 * gigabyte}, 300'000, 1},
        {"more cores than one thread can serve", {96, 256 * gigabyte}, 300'000, 16},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Capacity::of(row.machine, row.pages), (Capacity{row.engines, row.engines + 1})) << row.why;
}

class SeveralEngines : public Printing {
protected:
    std::set<int> engines() const {
        std::set<int> started;
        for (const int process : webProcesses())
            if (!before.contains(process)) started.insert(process);
        return started;
    }
    // Its text.
    std::string printed(WebPDFRenderer& with, const std::string& word) const {
        const auto path = folder.path() / (word + ".pdf");
        with.renderPDF(makePage("<p>" + word), path, {});
        return readText(path);
    }

    const std::vector<int> processes = webProcesses();
    const std::set<int> before{processes.begin(), processes.end()};
};

TEST_F(SeveralEngines, AreStartedWhenPagesFindTheOthersBusy) {
    WebPDFRenderer several(Paper::a4, {}, {}, Capacity{2, 4});
    EXPECT_EQ(several.prepareFor(1000), 4u);
    for (const char* const word : {"one", "two", "three"})
        EXPECT_EQ(printed(several, word), word + std::string("\n\n\f"));
    EXPECT_EQ(engines().size(), 1u) << "one page after the other";
    std::vector<std::future<void>> calls;
    for (int call = 0; call < 4; ++call)
        calls.push_back(std::async(std::launch::async, [&, call] {
            for (int page = 0; page < 5; ++page) {
                const auto word = "page" + std::to_string(call) + "x" + std::to_string(page);
                EXPECT_EQ(printed(several, word), word + "\n\n\f");
            }
        }));
    calls.clear();
    EXPECT_EQ(engines().size(), 2u) << "no more than allowed";
}

TEST_F(SeveralEngines, FailAlone) {
    WebPDFRenderer several(Paper::a4, {}, {}, Capacity{2, 3});
    several.prepareFor(1000);
    {   // Both engines are started, so that only one of them has much to do.
        auto other = std::async(std::launch::async, [&] { printed(several, "first"); });
        printed(several, "second");
    }
    auto lost = std::async(std::launch::async, [&] {
        return several.renderPDF(makePage(hundredsOfSheets()), folder.path() / "lost.pdf", {});
    });
    auto killed = std::async(std::launch::async, killBusyWebProcess);
    for (const char* const word : {"meanwhile", "again", "still"})
        EXPECT_EQ(printed(several, word), word + std::string("\n\n\f"));
    EXPECT_TRUE(killed.get());
    EXPECT_NE(lost.get(), "") << "its words are printed without the engine";
    EXPECT_EQ(printed(several, "next"), "next\n\n\f");
}

}   // namespace
}   // namespace ostrel
