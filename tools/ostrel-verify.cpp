// ostrel-verify: whether an export is whole. For people, and for scripts that watch over archives.

#include "core/export/Verification.h"
#include "platform/Files.h"
#include "platform/NetworkWall.h"
#include "platform/Translation.h"
#include "tools/ProgressLine.h"

#include <exception>
#include <filesystem>
#include <iostream>
#include <string>

namespace ostrel {
namespace {

using i18n::filled;
using i18n::tr;
using i18n::trCount;
using Verification::Finding;

enum ExitStatus { isWhole = 0, isNotWhole = 1, couldNotRun = 2 };

// The same in every language, for scripts.
const char* wordOf(Finding::Kind kind) {
    switch (kind) {
        case Finding::Kind::changed:
            return "changed";
        case Finding::Kind::missing:
            return "missing";
        case Finding::Kind::strange:
            return "strange";
        case Finding::Kind::row:
            return "row";
        case Finding::Kind::unfinished:
            return "unfinished";
    }
    return "";
}

ExitStatus verify(const std::filesystem::path& folder) {
    const Verification::Result result = [&] {
        ProgressLine progress;
        return Verification::verify(
            folder,
            [&](std::size_t done, std::size_t total) { progress.show(filled(tr("%lld of %lld"), done, total)); }, {});
    }();
    for (const Finding& finding : result.findings) {
        std::cout << wordOf(finding.kind) << ": " << oneLine(displayText(finding.name)) << '\n';
        if (!finding.renamed.empty())
            std::cerr << filled(tr("“%@” has what is missing as “%@”."), oneLine(displayText(finding.renamed)),
                                oneLine(displayText(finding.name)))
                      << '\n';
    }
    std::cout.flush();
    std::cerr << filled(tr("%lld of %lld files are whole."), result.whole, result.files) << '\n';
    std::cerr << (result.findings.empty() ? tr("The archive is whole.")
                                          : trCount("Found to be wrong: %lld", result.findings.size()))
              << '\n';
    return result.findings.empty() ? isWhole : isNotWhole;
}

}   // namespace
}   // namespace ostrel

int main(int argc, char** argv) {
    using namespace ostrel;
    networkWall::raise();
    i18n::start();
    if (argc != 2 || argv[1][0] == '\0') {
        std::cerr << tr("usage: ostrel-verify EXPORT") << '\n';
        return couldNotRun;
    }
    try {
        const ExitStatus status = verify(argv[1]);
        return std::cout.good() ? status : couldNotRun;
    } catch (const std::exception& error) {
        std::cerr << "ostrel-verify: " << oneLine(error.what()) << '\n';
        return couldNotRun;
    }
}
