#include "ui/MainWindow.h"

#include "platform/Translation.h"

namespace ostrel {
namespace {

constexpr int defaultWidth = 1240, defaultHeight = 760;

}   // namespace

MainWindow::MainWindow(AppModel& model, Desktop&) : model_(model) {
    set_title(i18n::tr("Ostrel"));
    set_default_size(defaultWidth, defaultHeight);
    set_hide_on_close();
}

}   // namespace ostrel
