#include "pictures/Wire.h"
#include "pictures/helper/Formats.h"
#include "pictures/helper/Owned.h"

#include <cmath>

#include <cairo-svg.h>
#include <fontconfig/fontconfig.h>
#include <libheif/heif.h>
#include <poppler.h>

namespace ostrel::pictures {
namespace {

using GBytesPtr = Owned<GBytes, g_bytes_unref>;
using Document = Owned<PopplerDocument, g_object_unref>;
using Page = Owned<PopplerPage, g_object_unref>;
using Surface = Owned<cairo_surface_t, cairo_surface_destroy>;
using Context = Owned<cairo_t, cairo_destroy>;

// What an engine shows at ease; a map with a million lines is a bomb to it.
constexpr std::size_t maxBytes = std::size_t{16} << 20;
// Three metres; PDF readers draw no larger pages.
constexpr double maxPoints = 14400;

cairo_status_t append(void* to, const unsigned char* bytes, unsigned count) {
    auto& svg = *static_cast<std::string*>(to);
    if (svg.size() + count > maxBytes) return CAIRO_STATUS_WRITE_ERROR;
    svg.append(reinterpret_cast<const char*>(bytes), count);
    return CAIRO_STATUS_SUCCESS;
}

// Each of the fonts that every reader has (ISO 32000-1 §9.6.2.2) draws a letter.
std::string pageOfStandardFonts() {
    std::string fonts, content;
    int count = 0;
    for (const char* const name :
         {"Helvetica", "Helvetica-Bold", "Helvetica-Oblique", "Helvetica-BoldOblique", "Times-Roman", "Times-Bold",
          "Times-Italic", "Times-BoldItalic", "Courier", "Courier-Bold", "Courier-Oblique", "Courier-BoldOblique",
          "Symbol", "ZapfDingbats"}) {
        const auto key = "/F" + std::to_string(count++);
        fonts += key + "<</Type/Font/Subtype/Type1/BaseFont/" + name + ">>";
        content += "BT " + key + " 9 Tf 9 9 Td (a) Tj ET ";
    }
    return "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj 2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj "
           "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 99 99]/Resources<</Font<<" +
           fonts + ">>>>/Contents 4 0 R>>endobj 4 0 obj<</Length " + std::to_string(content.size()) + ">>stream\n" +
           content + "\nendstream endobj trailer<</Root 1 0 R>>";
}

}   // namespace

Drawing drawPDF(ByteView document) {
    const GBytesPtr bytes(g_bytes_new_static(document.data(), document.size()));
    GError* error = nullptr;
    const Document file(poppler_document_new_from_bytes(bytes.get(), nullptr, &error));
    g_clear_error(&error);
    const Page page(file ? poppler_document_get_page(file.get(), 0) : nullptr);
    if (!page) throw NotAPicture("no PDF with a page that can be read");
    double width = 0, height = 0;
    poppler_page_get_size(page.get(), &width, &height);
    if (!(width >= 0.5 && height >= 0.5)) throw NotAPicture("no size");
    if (width > maxPoints || height > maxPoints) throw TooLarge();

    Drawing drawing{static_cast<std::uint32_t>(std::ceil(width)), static_cast<std::uint32_t>(std::ceil(height)), {}};
    const Surface surface(cairo_svg_surface_create_for_stream(append, &drawing.svg, drawing.width, drawing.height));
    cairo_svg_surface_set_document_unit(surface.get(),
                                        CAIRO_SVG_UNIT_PX);   // a point of the page is one of the engine's
    {
        const Context context(cairo_create(surface.get()));
        cairo_scale(context.get(), drawing.width / width, drawing.height / height);
        poppler_page_render_for_printing(page.get(), context.get());
    }
    cairo_surface_finish(surface.get());
    if (cairo_surface_status(surface.get()) == CAIRO_STATUS_WRITE_ERROR) throw TooLarge();
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) throw NotAPicture("a damaged PDF");
    return drawing;
}

void warmUp() {
#if LIBHEIF_HAVE_VERSION(1, 13, 0)
    heif_init(nullptr);   // loads its plugins
#endif
    FcInit();
    FcConfigSetRescanInterval(nullptr, 0);
    const auto page = pageOfStandardFonts();
    try {
        drawPDF(bytesOf(page));
    } catch (const NotAPicture&) {
        // Without fonts on this system: PDFs that carry their own are drawn all the same.
    }
}

}   // namespace ostrel::pictures
