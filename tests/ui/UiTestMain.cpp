// Tests of widgets, on a display of their own. A word of the toolkit on standard error fails them.

#include "render/engine/PrivateDisplay.h"

#include <cstdlib>

#include <adwaita.h>
#include <gtest/gtest.h>
#include <gtkmm/application.h>

namespace {

int complaints = 0;

GLogWriterOutput countComplaints(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer) {
    constexpr int serious = G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING;
    if ((level & serious) != 0) ++complaints;
    return g_log_writer_default(level, fields, count, nullptr);
}

}   // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    setenv("GTK_A11Y", "test", 1);
    setenv("GSK_RENDERER", "cairo", 1);
    setenv("GSETTINGS_BACKEND", "memory", 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
    const ostrel::PrivateDisplay display;
    g_log_set_writer_func(countComplaints, nullptr, nullptr);
    const auto application = Gtk::Application::create();   // starts the toolkit
    adw_init();
    const int result = RUN_ALL_TESTS();
    return result != 0 ? result : complaints;
}
