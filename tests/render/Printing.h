#pragma once

#include "platform/Files.h"
#include "platform/TemporaryFolder.h"
#include "render/print/WebPDFRenderer.h"
#include "tests/pdf/archival/ArchivalRules.h"
#include "tests/pdf/tags/TagRules.h"
#include "tests/render/PrintedPDF.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ostrel {

// A renderer and a folder to print into.
class Printing : public testing::Test {
protected:
    // Prints to a fresh file and gives its path. Every page that a test prints keeps the rules for archives.
    std::filesystem::path print(const std::string& html, WebPDFRenderer& with) {
        const auto path = folder.path() / ("page " + std::to_string(++printed_) + ".pdf");
        with.renderPDF(makePage(html), path, {.title = "<A & B>", .author = "Ann", .created = Instant{}});
        EXPECT_TRUE(with.lastReport().finished.isArchival) << html.substr(0, 500);
        EXPECT_TRUE(with.lastReport().finished.isTagged) << html.substr(0, 500);
        const std::string pdf(files::readWhole(path).chars());
        EXPECT_EQ(test::brokenArchivalRules(pdf), std::vector<std::string>());
        EXPECT_EQ(test::brokenTagRules(pdf), std::vector<std::string>());
        return path;
    }
    std::filesystem::path print(const std::string& html) { return print(html, renderer); }

    // Takes the engine seconds to print, hardly any to load.
    static std::string hundredsOfSheets() {
        std::string html = "<!DOCTYPE html>";
        for (int i = 0; i < 20'000; ++i) html += "<p>Paragraph " + std::to_string(i) + " with office words</p>";
        return html;
    }

    TemporaryFolder folder{"ostrel-test-"};
    WebPDFRenderer renderer{Paper::a4};

private:
    int printed_ = 0;
};

}   // namespace ostrel
