#include "platform/Releaser.h"
#include "render/overrides/Register.h"

#include <memory>

#include <dlfcn.h>
#include <gtk/gtk.h>

using namespace ostrel;
using namespace ostrel::overrides;

// GTK 4.8's own never lets go of what it makes of the paper, 2 KB for each page that is printed. A program's functions
// go before those of its libraries for all of them, so the engine calls this one, which makes the same.
extern "C" __attribute__((visibility("default"))) GVariant* gtk_page_setup_to_gvariant(GtkPageSetup* setup) {
    if (!isWanted(Override::pageSetup)) {
        using ToVariant = GVariant*(GtkPageSetup*);
        static auto* const toolkits = reinterpret_cast<ToVariant*>(dlsym(RTLD_NEXT, "gtk_page_setup_to_gvariant"));
        return toolkits(setup);
    }
    reportActive(Override::pageSetup);
    const std::unique_ptr<GVariant, Releaser<g_variant_unref>> paper(
        g_variant_ref_sink(gtk_paper_size_to_gvariant(gtk_page_setup_get_paper_size(setup))));
    GVariantDict all;
    g_variant_dict_init(&all, paper.get());
    constexpr struct {
        const char* name;
        double (*of)(GtkPageSetup*, GtkUnit);
    } margins[] = {{"MarginTop", gtk_page_setup_get_top_margin},
                   {"MarginBottom", gtk_page_setup_get_bottom_margin},
                   {"MarginLeft", gtk_page_setup_get_left_margin},
                   {"MarginRight", gtk_page_setup_get_right_margin}};
    for (const auto& [name, of] : margins) g_variant_dict_insert(&all, name, "d", of(setup, GTK_UNIT_MM));
    constexpr const char* orientations[] = {"portrait", "landscape", "reverse-portrait", "reverse-landscape"};
    g_variant_dict_insert(&all, "Orientation", "s", orientations[gtk_page_setup_get_orientation(setup)]);
    return g_variant_dict_end(&all);
}
