#include "render/engine/DisplayLoss.h"

#include "render/loop/MainLoop.h"

#include <array>
#include <cassert>
#include <utility>

#include <fcntl.h>
#include <gdk/x11/gdkx.h>
#include <unistd.h>

namespace ostrel::displayLoss {
namespace {

std::function<void()>& handler() {
    static std::function<void()> kept;
    return kept;
}

int connectionBroke(Display* display) noexcept {
    // A descriptor that never has news, or the main loop would turn round the broken one without a rest.
    std::array<int, 2> ends;
    if (pipe2(ends.data(), O_CLOEXEC) == 0) dup3(ends[0], ConnectionNumber(display), O_CLOEXEC);
    if (const auto call = std::exchange(handler(), {})) call();
    return 0;
}

// Xlib calls exit unless it is told otherwise.
void goOn(Display*, void*) noexcept {}

}   // namespace

void survive(std::function<void()> call) {
    assert(mainLoop::isMainThread());
    GdkDisplay* display = gdk_display_get_default();
    if (!GDK_IS_X11_DISPLAY(display)) return;
    handler() = std::move(call);
    Display* connection = gdk_x11_display_get_xdisplay(display);
    XSetIOErrorHandler(connectionBroke);
    XSetIOErrorExitHandler(connection, goOn, nullptr);
}

}   // namespace ostrel::displayLoss
