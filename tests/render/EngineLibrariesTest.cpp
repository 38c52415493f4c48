#include "platform/Files.h"
#include "platform/TemporaryFolder.h"
#include "render/engine/PageGeometry.h"
#include "render/loop/MainLoop.h"
#include "render/print/PagePrinter.h"
#include "tests/render/EngineProcess.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <qpdf/QPDF.hh>
#include <unistd.h>

namespace ostrel {
namespace {

// Prints a page and looks while the engine's process still stands.
void withPrinted(const std::string& html, const std::function<void(const std::filesystem::path&)>& look) {
    const TemporaryFolder folder("ostrel-test-");
    const auto output = folder.path() / "printed.pdf";
    std::shared_ptr<PagePrinter> printer;
    std::promise<void> done;
    mainLoop::post([&] {
        printer = std::make_shared<PagePrinter>(paperSize(Paper::a4), PrintLimits{});
        printer->print(html, {}, output, std::chrono::minutes(1), [&](const PrintOutcome&) { done.set_value(); });
    });
    done.get_future().get();
    look(output);
    mainLoop::post([printer = std::move(printer)] {});
}

// What makes printing fast: the library is found, gets into the engine's sandbox and takes the place of packing.
TEST(EngineLibraries, HaveTheEngineStoreItsStreams) {
    withPrinted("<p>Some words <b>in two fonts</b>", [](const std::filesystem::path& printed) {
        QPDF file;
        file.processFile(printed.c_str());
        int streams = 0;
        for (auto object : file.getAllObjects()) {
            if (!object.isStream()) continue;
            ++streams;
            EXPECT_FALSE(object.getDict().hasKey("/Filter")) << object.getDict().unparse();
        }
        EXPECT_GE(streams, 3);
    });
}

// They stay in memory until the last page is printed: eighty pages of such a text took 500 MB more.
TEST(EngineLibraries, HaveTheEnginePackPicturesOnceThereAreMany) {
    std::string html = "<div style='filter:contrast(1.1)'>";
    for (int i = 0; i < 1'500; ++i) html += "<p>Words that the engine prints as a picture of the whole page";
    withPrinted(html, [](const std::filesystem::path& printed) {
        QPDF file;
        file.processFile(printed.c_str());
        std::size_t held = 0, whole = 0;
        for (auto object : file.getAllObjects()) {
            if (!object.isStream() || !object.getDict().getKey("/Subtype").isNameAndEquals("/Image")) continue;
            held += object.getRawStreamData()->getSize();
            whole += object.getStreamData(qpdf_dl_all)->getSize();
        }
        constexpr std::size_t most = std::size_t{64} << 20;
        EXPECT_GT(whole, most);
        EXPECT_LT(held, most);
    });
}

// A driver of OpenGL and its compiler would take 50 MB.
TEST(EngineLibraries, HaveTheEngineLoadNoDriver) {
    withPrinted("<p style='transform:rotate(3deg)'>Some words", [](const std::filesystem::path&) {
        const auto web = webProcess();
        ASSERT_TRUE(web);
        for (const int process : {*web, getpid()}) {
            std::ifstream file("/proc/" + std::to_string(process) + "/maps");
            const std::string maps(std::istreambuf_iterator<char>(file), {});
            // A user namespace may keep its maps from those outside.
            if (maps.empty() && process != getpid()) GTEST_SKIP() << "the maps of the engine's process cannot be read";
            EXPECT_NE(maps.find("libwebkit"), std::string::npos) << process;
            for (const char* part : {"_dri.so", "libgallium", "libLLVM"})
                EXPECT_EQ(maps.find(part), std::string::npos) << process << ' ' << part;
        }
    });
}

}   // namespace
}   // namespace ostrel
