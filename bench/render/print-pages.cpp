// print-pages: prints one page for each line "page.html<TAB>page.pdf" on standard input and answers with one line, "ok"
// or the reason. Stays alive between pages, as an export does.

#include "platform/Files.h"
#include "render/engine/HeadlessEngine.h"
#include "render/loop/MainLoop.h"
#include "render/print/WebPDFRenderer.h"

#include <filesystem>
#include <iostream>
#include <string>
#include <utility>

namespace ostrel {
namespace {

std::string print(WebPDFRenderer& renderer, const std::string& request) {
    try {
        const auto tab = request.find('\t');
        if (tab == std::string::npos) return "A request is two paths with a tab between.";
        const std::filesystem::path destination = request.substr(tab + 1);
        std::string html;
        files::ReadHandle(request.substr(0, tab)).readToEnd(html);
        const Page page = makePage(std::move(html));
        std::filesystem::remove(destination);
        renderer.renderPDF(page, destination, {destination.stem().string(), "", std::nullopt});
        return "ok";
    } catch (const std::exception& error) {
        return error.what();
    }
}

void serve() {
    WebPDFRenderer renderer(Paper::a4);
    for (std::string request; std::getline(std::cin, request);) std::cout << print(renderer, request) << std::endl;
}

}   // namespace
}   // namespace ostrel

int main() {
    try {
        const ostrel::HeadlessEngine engine;
        ostrel::mainLoop::runBeside(ostrel::serve);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "print-pages: " << error.what() << '\n';
        return 2;
    }
}
