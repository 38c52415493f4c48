#include "render/print/FilePrinter.h"

#include <memory>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>

namespace ostrel {
namespace {

using VariantPtr = std::unique_ptr<GVariant, Releaser<g_variant_unref>>;
using ToVariant = GVariant*(GtkPageSetup*);

VariantPtr owned(GVariant* made) { return VariantPtr(g_variant_ref_sink(made)); }

// What the engine is told of the paper comes from a function of ours in place of the toolkit's.
TEST(FilePrinter, TellsTheEngineWhatTheToolkitWould) {
    auto* const toolkits = reinterpret_cast<ToVariant*>(dlsym(RTLD_NEXT, "gtk_page_setup_to_gvariant"));
    ASSERT_NE(toolkits, nullptr);
    ASSERT_NE(toolkits, &gtk_page_setup_to_gvariant);
    for (const double enlargement : {1.0, 7.3}) {
        const auto setup = filePrinter::pageSetup({595, 842}, enlargement);
        for (int orientation = 0; orientation < 4; ++orientation) {
            gtk_page_setup_set_orientation(setup.get(), static_cast<GtkPageOrientation>(orientation));
            const auto ours = owned(gtk_page_setup_to_gvariant(setup.get())), theirs = owned(toolkits(setup.get()));
            EXPECT_EQ(g_variant_n_children(ours.get()), g_variant_n_children(theirs.get()));
            GVariantIter entries;
            g_variant_iter_init(&entries, theirs.get());
            const char* name = nullptr;
            GVariant* value = nullptr;
            while (g_variant_iter_next(&entries, "{&sv}", &name, &value)) {
                const VariantPtr expected(value), found(g_variant_lookup_value(ours.get(), name, nullptr));
                EXPECT_TRUE(found && g_variant_equal(found.get(), expected.get())) << name << ' ' << orientation;
            }
        }
    }
}

TEST(FilePrinter, KeepsNothingOfAPage) {
    const auto setup = filePrinter::pageSetup({595, 842}, 1);
    const auto inUse = [&] {
        for (int page = 0; page < 10'000; ++page) owned(gtk_page_setup_to_gvariant(setup.get()));
        return static_cast<long>(mallinfo2().uordblks);
    };
    const long before = inUse();
    EXPECT_LT(inUse() - before, 1 << 20) << "the toolkit's own keeps 16 MB";
}

}   // namespace
}   // namespace ostrel
