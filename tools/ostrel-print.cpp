// ostrel-print: what ostrel-inspect runs to print one message and tell what that took. A program of its own, because
// the engine's libraries take longer to load than everything else that ostrel-inspect does.

#include "core/mailstore/Emlx.h"
#include "core/page/MessageHTML.h"
#include "platform/Files.h"
#include "platform/JsonWriter.h"
#include "platform/NetworkWall.h"
#include "platform/TemporaryFolder.h"
#include "platform/Translation.h"
#include "render/engine/HeadlessEngine.h"
#include "render/loop/MainLoop.h"
#include "render/overrides/Register.h"
#include "render/print/WebPDFRenderer.h"

#include <chrono>
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

double milliseconds(std::chrono::nanoseconds time) { return std::chrono::duration<double, std::milli>(time).count(); }

Page pageOf(const fs::path& file) {
    const MailMessage message = Emlx::read(file);
    const Instant date = message.date ? *message.date : files::modificationDate(file).value_or(Instant{});
    return MessageHTML::page(message, "", isoDateTime(date, Calendar::current()), std::nullopt, PageLabels{});
}

void write(JsonWriter& json, const PrintTimes& engine) {
    json.open('{').key("load").milliseconds(milliseconds(engine.load));
    json.key("measure").milliseconds(milliseconds(engine.measure));
    json.key("print").milliseconds(milliseconds(engine.print)).close('}');
}

void writeTextOrNull(JsonWriter& json, const std::string& text) {
    if (text.empty())
        json.null();
    else
        json.text(text);
}

void write(JsonWriter& json, const pdf::PassReport& pass) {
    json.open('{').key("name").text(pass.name).key("milliseconds").milliseconds(milliseconds(pass.time));
    json.key("bytesBefore").number(pass.bytesBefore).key("bytesAfter").number(pass.bytesAfter);
    writeTextOrNull(json.key("failure"), pass.failure);
    json.key("kept").open('[');
    for (const std::string& reason : pass.kept) json.text(reason);
    json.close(']').close('}');
}

void write(JsonWriter& json, const PrintReport& report) {
    write(json.key("engineMilliseconds"), report.engine);
    json.key("attempts").number(static_cast<std::uint64_t>(report.attempts));
    json.key("printedBytes").number(report.printedBytes);
    json.key("openMilliseconds").milliseconds(milliseconds(report.open));
    json.key("finishMilliseconds").milliseconds(milliseconds(report.finish));
    json.key("finishedBytes").number(report.finishedBytes);
    const pdf::FinishReport& finished = report.finished;
    json.key("pages").number(finished.pages).key("links").number(finished.links);
    json.key("fontsReduced").number(finished.fontsReduced).key("fontsKept").number(finished.fontsKept);
    json.key("picturesPlaced").number(finished.picturesPlaced).key("passes").open('[');
    for (const pdf::PassReport& pass : finished.passes) write(json, pass);
    json.close(']');
}

void writeOverrides(JsonWriter& json) {
    json.key("overrides").open('[');
    for (const overrides::Status& status : overrides::statuses()) {
        json.open('{').key("name").text(overrides::entry(status.which).name);
        json.key("effect").text(overrides::nameOf(status.effect));
        writeTextOrNull(json.key("reason"), status.reason);
        json.close('}');
    }
    json.close(']');
}

void print(const fs::path& file, bool isSandboxed) {
    const Page page = pageOf(file);
    const TemporaryFolder folder("ostrel-inspect-");
    WebPDFRenderer renderer(Paper::a4);
    // The engine's start is told apart from what the message takes.
    const auto begin = std::chrono::steady_clock::now();
    renderer.renderPDF(makePage("<!DOCTYPE html><p>Start"), folder.path() / "start.pdf", {});
    const auto started = std::chrono::steady_clock::now();
    renderer.renderPDF(page, folder.path() / "message.pdf", {});
    JsonWriter json(std::cout);
    json.open('{').key("pageBytes").number(page.html.size());
    json.key("engineStartMilliseconds").milliseconds(milliseconds(started - begin));
    write(json, renderer.lastReport());
    json.key("isSandboxed").boolean(isSandboxed);
    writeOverrides(json);
    json.close('}');
    std::cout << '\n';
}

}   // namespace
}   // namespace ostrel

int main(int argc, char** argv) {
    using namespace ostrel;
    networkWall::raise();
    i18n::start();
    try {
        if (argc != 2) throw std::runtime_error("one message file is wanted");
        const HeadlessEngine engine;
        mainLoop::runBeside([&] { print(argv[1], engine.isSandboxed()); });
        std::cout.flush();
        return std::cout.good() ? 0 : 2;
    } catch (const std::exception& error) {
        std::cerr << "ostrel-inspect: " << error.what() << '\n';
        return 2;
    }
}
