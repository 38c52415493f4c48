#include "tests/render/LoopbackServer.h"
#include "tests/render/Printing.h"
#include "tests/render/TemptingPage.h"

#include <string>

namespace ostrel {
namespace {

// Without the page's own defences: no sanitising, no policy.
TEST_F(Printing, AsksNoServerForAnything) {
    const LoopbackServer server;
    const std::string html = temptingPage(server.port());
    EXPECT_NE(readText(print(html)).find("END"), std::string::npos);
    // Whatever a page left behind would be fetched while the next ones print.
    print("<p>next");
    print("<p>and the next");
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(Printing, RunsNoScriptAndShowsImagesOfItsOwn) {
    const auto pdf = print(R"html(<!DOCTYPE html><p id=p>untouched</p>
        <script>document.getElementById('p').textContent = 'changed'</script><body onload="p.textContent='changed'">
        <img alt=missing src="data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAgAAAAICAIAAABLbSncAAAAEUlEQVR42mP4z8CAFTEMLQkAKP8/wc53yE8AAAAASUVORK5CYII=">)html");
    const std::string text = readText(pdf);
    EXPECT_NE(text.find("untouched"), std::string::npos);
    EXPECT_EQ(text.find("changed"), std::string::npos);
    EXPECT_EQ(text.find("missing"), std::string::npos);
    EXPECT_EQ(countImages(pdf), 1u);
}

}   // namespace
}   // namespace ostrel
