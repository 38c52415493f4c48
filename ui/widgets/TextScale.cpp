#include "ui/widgets/TextScale.h"

#include <algorithm>

#include <gtkmm/settings.h>
#include <pangomm/fontdescription.h>

namespace ostrel::textScale {
namespace {

double measured(Gtk::Settings& settings) {
    constexpr double usualResolution = 96.0 * 1024, usualPoints = 11;
    const Pango::FontDescription font(settings.property_gtk_font_name().get_value());
    const int resolution = settings.property_gtk_xft_dpi().get_value();
    const double scale = (font.get_size() / static_cast<double>(PANGO_SCALE) / usualPoints) *
                         (resolution > 0 ? resolution / usualResolution : 1.0);
    return std::max(1.0, scale);
}

// Asked for every cell of a list: measured only when it may have changed.
double current() {
    static double scale = [] {
        const auto settings = Gtk::Settings::get_default();
        const auto measureAnew = [settings = settings.get()] { scale = measured(*settings); };
        settings->property_gtk_font_name().signal_changed().connect(measureAnew);
        settings->property_gtk_xft_dpi().signal_changed().connect(measureAnew);
        return measured(*settings);
    }();
    return scale;
}

}   // namespace

int scaled(int pixels) { return static_cast<int>(pixels * current()); }

}   // namespace ostrel::textScale
