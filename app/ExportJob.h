#pragma once

#include "app/MessageList.h"
#include "core/export/Exporter.h"
#include "core/export/PDFRendering.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <variant>

namespace ostrel {

// An export in the chosen destination that was cut short and can be gone on with.
struct UnfinishedExport {
    std::filesystem::path folder;
};

// What came of a job: its result, a sentence about why it ended, or a question before it began.
using ExportOutcome = std::variant<ExportResult, std::string, UnfinishedExport>;

// Everything that an export or an update needs, taken on the main thread for another one.
struct ExportJob {
    enum class Kind {
        ask,      // a new folder in the destination, unless an export there can be gone on with
        anew,     // a new folder in the destination
        update,   // the folder is an export
    };
    Kind kind;
    std::filesystem::path folder;
    MessageList messages;           // of an update: those that the export is to hold, with their duplicates
    bool skipsDuplicates = false;   // of an update
    ExportSettings settings;
    std::shared_ptr<PDFRendering> renderer;

    // As Exporter::run and Update::run; never throws.
    ExportOutcome run(const std::function<void(const ExportProgress&)>& progress, const std::stop_token& cancel) const;
};

}   // namespace ostrel
