#include "tests/render/PrintedPDF.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <sstream>

#include <qpdf/QPDF.hh>

namespace ostrel {
namespace {

std::string outputOf(const std::string& command, const std::filesystem::path& pdf, const std::string& tail) {
    const std::string line = command + " '" + pdf.string() + "' " + tail;   // the tests' names hold no quote
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(line.c_str(), "r"), pclose);
    std::string output;
    std::array<char, 4096> piece;
    while (const std::size_t count = fread(piece.data(), 1, piece.size(), pipe.get()))
        output.append(piece.data(), count);
    return output;
}

double attribute(const std::string& tag, const std::string& name) {
    const std::size_t at = tag.find(name + "=\"");
    return at == std::string::npos ? -1 : std::stod(tag.substr(at + name.size() + 2));
}

}   // namespace

std::vector<PrintedSheet> readSheets(const std::filesystem::path& pdf) {
    std::istringstream lines(outputOf("pdftotext -bbox", pdf, "-"));
    std::vector<PrintedSheet> sheets;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("<page ") != std::string::npos) {
            sheets.push_back({attribute(line, "width"), attribute(line, "height"), {}});
        } else if (line.find("<word ") != std::string::npos) {
            const std::size_t text = line.find('>') + 1;
            sheets.back().words.push_back({line.substr(text, line.find("</word>") - text), attribute(line, "xMin"),
                                           attribute(line, "yMin"), attribute(line, "xMax"), attribute(line, "yMax")});
        }
    }
    return sheets;
}

std::string readText(const std::filesystem::path& pdf) { return outputOf("pdftotext", pdf, "-"); }

// A line for each element, attribute, text and area, further to the right the deeper it is.
std::string readStructure(const std::filesystem::path& pdf) {
    std::istringstream lines(outputOf("pdfinfo -struct-text", pdf, ""));
    std::string told;
    std::size_t before = 0;
    for (std::string line; std::getline(lines, line);) {
        const auto blanks = std::min(line.find_first_not_of(' '), line.size()), depth = blanks / 2;
        auto text = line.substr(blanks);
        if (text.empty() || text == "Document") continue;
        if (text.starts_with("/")) {   // of the element above
            told += text;
            continue;
        }
        if (text.starts_with("Object")) text = "->";
        if (text[0] != '"' && text[0] != '-') text = text.substr(0, text.find_first_of(" :"));
        if (depth > before && before > 0)
            told += '(';
        else if (before > 0)
            told.append(before - depth, ')') += ' ';
        told += text;
        before = depth;
    }
    return told.append(before > 0 ? before - 1 : 0, ')');
}

std::vector<PrintedLink> readLinks(const std::filesystem::path& pdf) {
    QPDF file;
    file.processFile(pdf.c_str());
    std::vector<PrintedLink> links;
    std::size_t sheet = 0;
    for (QPDFObjectHandle page : file.getAllPages()) {
        const double height = page.getKey("/MediaBox").getArrayAsRectangle().ury;
        auto annotations = page.getKey("/Annots");
        for (int i = 0, count = annotations.isArray() ? annotations.getArrayNItems() : 0; i < count; ++i) {
            auto annotation = annotations.getArrayItem(i);
            const auto box = annotation.getKey("/Rect").getArrayAsRectangle();
            links.push_back({sheet, box.llx, height - box.ury, box.urx, height - box.lly,
                             annotation.getKey("/A").getKey("/URI").getStringValue()});
        }
        ++sheet;
    }
    return links;
}

std::string readPixels(const std::filesystem::path& pdf) { return outputOf("pdftoppm -r 60", pdf, ""); }

std::size_t countImages(const std::filesystem::path& pdf) {
    const std::string list = outputOf("pdfimages -list", pdf, "");
    const auto lines = std::count(list.begin(), list.end(), '\n');
    return lines > 2 ? static_cast<std::size_t>(lines) - 2 : 0;   // two lines of heading
}

std::optional<PrintedWord> find(const std::vector<PrintedSheet>& sheets, std::string_view word) {
    for (const PrintedSheet& sheet : sheets) {
        const auto at = std::ranges::find(sheet.words, word, &PrintedWord::text);
        if (at != sheet.words.end()) return *at;
    }
    return std::nullopt;
}

}   // namespace ostrel
