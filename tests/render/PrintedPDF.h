#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ostrel {

// A word on a page as pdftotext sees it: the box in points from the page's top left corner.
struct PrintedWord {
    std::string text;
    double left = 0, top = 0, right = 0, bottom = 0;
};

struct PrintedSheet {
    double width = 0, height = 0;
    std::vector<PrintedWord> words;
};

// A link annotation; the box as for words.
struct PrintedLink {
    std::size_t sheet = 0;
    double left = 0, top = 0, right = 0, bottom = 0;
    std::string url;
};

std::vector<PrintedSheet> readSheets(const std::filesystem::path& pdf);
std::string readText(const std::filesystem::path& pdf);
std::vector<PrintedLink> readLinks(const std::filesystem::path& pdf);
// The tree of what is read, as pdfinfo tells it: H1("Title") P("See " Link("this" ->)) Table(TR(TD ...)), -> for an
// area that opens something. Attributes follow the element's name.
std::string readStructure(const std::filesystem::path& pdf);
std::string readPixels(const std::filesystem::path& pdf);   // of all sheets
std::size_t countImages(const std::filesystem::path& pdf);
std::optional<PrintedWord> find(const std::vector<PrintedSheet>& sheets, std::string_view word);

}   // namespace ostrel
