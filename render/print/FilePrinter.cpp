#include "render/print/FilePrinter.h"

#include "render/engine/PageGeometry.h"

#include <memory>
#include <string>

#include <gtk/gtkunixprint.h>

namespace ostrel::filePrinter {
namespace {

gboolean keepFilePrinter(GtkPrinter* printer, gpointer data) noexcept {
    if (!gtk_printer_is_virtual(printer) || !gtk_printer_accepts_pdf(printer)) return FALSE;
    *static_cast<std::string*>(data) = gtk_printer_get_name(printer);
    return TRUE;
}

// Its name is translated ("In Datei drucken"), so it is found by what it can do.
const std::string& printerName() {
    static const std::string name = [] {
        std::string found;
        gtk_enumerate_printers(keepFilePrinter, &found, nullptr, TRUE);
        return found;
    }();
    return name;
}

}   // namespace

GRef<GtkPageSetup> pageSetup(PaperSize paper, double enlargement) {
    // The toolkit's own sizes are in rounded millimetres: A4 would be 595.28 points wide.
    const std::unique_ptr<GtkPaperSize, Releaser<gtk_paper_size_free>> size(gtk_paper_size_new_custom(
        "ostrel", "Ostrel", paper.width * enlargement, paper.height * enlargement, GTK_UNIT_POINTS));
    const auto setup = GRef<GtkPageSetup>::adopt(gtk_page_setup_new());
    gtk_page_setup_set_paper_size(setup.get(), size.get());
    const double vertical = pageGeometry::verticalMargin * enlargement;
    const double horizontal = pageGeometry::horizontalMargin * enlargement;
    gtk_page_setup_set_top_margin(setup.get(), vertical, GTK_UNIT_POINTS);
    gtk_page_setup_set_bottom_margin(setup.get(), vertical, GTK_UNIT_POINTS);
    gtk_page_setup_set_left_margin(setup.get(), horizontal, GTK_UNIT_POINTS);
    gtk_page_setup_set_right_margin(setup.get(), horizontal, GTK_UNIT_POINTS);
    return setup;
}

GRef<GtkPrintSettings> settingsFor(const std::filesystem::path& output, GtkPageSetup* setup) {
    const GChars uri(g_filename_to_uri(output.c_str(), nullptr, nullptr));
    if (printerName().empty() || !uri) return {};
    const auto settings = GRef<GtkPrintSettings>::adopt(gtk_print_settings_new());
    gtk_print_settings_set_printer(settings.get(), printerName().c_str());
    gtk_print_settings_set(settings.get(), GTK_PRINT_SETTINGS_OUTPUT_URI, uri.get());
    gtk_print_settings_set(settings.get(), GTK_PRINT_SETTINGS_OUTPUT_FILE_FORMAT, "pdf");
    gtk_print_settings_set_paper_size(settings.get(), gtk_page_setup_get_paper_size(setup));
    return settings;
}

}   // namespace ostrel::filePrinter
