#pragma once

#include "core/export/Paper.h"
#include "render/loop/GRef.h"

#include <filesystem>

#include <gtk/gtk.h>

// The toolkit's printer that writes PDF files instead of paper. Main thread only.
namespace ostrel::filePrinter {

// Paper, in points, with the margins that every page of ours has, both times the enlargement.
GRef<GtkPageSetup> pageSetup(PaperSize paper, double enlargement);
// A job that goes to the file. Null when the toolkit has no such printer.
GRef<GtkPrintSettings> settingsFor(const std::filesystem::path& output, GtkPageSetup* setup);

}   // namespace ostrel::filePrinter
