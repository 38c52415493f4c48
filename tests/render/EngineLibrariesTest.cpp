#include "platform/Files.h"
#include "render/MainLoop.h"
#include "render/PageGeometry.h"
#include "render/PagePrinter.h"
#include "render/TemporaryFolder.h"
#include "tests/render/EngineProcess.h"

#include <fstream>
#include <future>
#include <iterator>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <qpdf/QPDF.hh>
#include <unistd.h>

namespace ostrel {
namespace {

std::filesystem::path printedByTheEngine(const std::string& html, const std::filesystem::path& folder) {
    const auto output = folder / "printed.pdf";
    std::shared_ptr<PagePrinter> printer;
    std::promise<void> done;
    mainLoop::post([&] {
        printer = std::make_shared<PagePrinter>(paperSize(Paper::a4), PrintLimits{});
        printer->print(html, output, [&](const PrintOutcome&) { done.set_value(); });
    });
    done.get_future().get();
    mainLoop::post([printer = std::move(printer)] {});
    return output;
}

// What makes printing fast: the library is found, gets into the engine's sandbox and takes the place of packing.
TEST(EngineLibraries, HaveTheEngineStoreItsStreams) {
    const TemporaryFolder folder("ostrel-test-");
    const auto printed = printedByTheEngine("<p>Some words <b>in two fonts</b>", folder.path());
    QPDF file;
    file.processFile(printed.c_str());
    int streams = 0;
    for (auto object : file.getAllObjects()) {
        if (!object.isStream()) continue;
        ++streams;
        EXPECT_FALSE(object.getDict().hasKey("/Filter")) << object.getDict().unparse();
    }
    EXPECT_GE(streams, 3);
}

// A driver of OpenGL and its compiler would take 50 MB.
TEST(EngineLibraries, HaveTheEngineLoadNoDriver) {
    const TemporaryFolder folder("ostrel-test-");
    printedByTheEngine("<p style='transform:rotate(3deg)'>Some words", folder.path());
    for (const int process : {webProcess().value_or(-1), getpid()}) {
        std::ifstream file("/proc/" + std::to_string(process) + "/maps");
        const std::string maps(std::istreambuf_iterator<char>(file), {});
        EXPECT_NE(maps.find("webkit"), std::string::npos) << process;
        for (const char* part : {"_dri.so", "libgallium", "libLLVM"})
            EXPECT_EQ(maps.find(part), std::string::npos) << process << ' ' << part;
    }
}

}   // namespace
}   // namespace ostrel
