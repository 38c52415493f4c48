#include "render/engine/EngineLibraries.h"

#include "platform/Environment.h"
#include "platform/Files.h"
#include "platform/Installation.h"
#include "render/overrides/Register.h"

#include <filesystem>
#include <optional>
#include <string>

#include <gtk/gtk.h>

namespace ostrel::engineLibraries {
namespace {

using namespace overrides;

// In front of what the user's own list has (ld.so(8)).
void addToList(const char* variable, const std::string& path) {
    const auto others = environment::value(variable);
    environment::set(variable, others ? path + ':' + *others : path);
}

// A file that belongs to us, where the engine's processes can see it. Nothing when it is missing.
std::optional<std::string> visibleFile(const char* name) {
    const std::string folder = installation::prefix() / "lib" / "ostrel", file = folder + '/' + name;
    constexpr const char* separators = ": ;$";   // of the lists below, which have no way to quote them
    if (file.find_first_of(separators) != std::string::npos || !files::isRegularFile(file)) return std::nullopt;
    // The folders of this list are seen in all of the engine's sandboxes, wherever they lie.
    static const bool once = [&folder] {
        addToList("LD_LIBRARY_PATH", folder);
        return true;
    }();
    static_cast<void>(once);
    return file;
}

}   // namespace

void storeStreams() {
    if (!isWanted(Override::storedStreams)) return;
    if (const auto library = visibleFile("libostrel-stored-streams.so"))
        addToList("LD_PRELOAD", *library);
    else
        report(Override::storedStreams, Effect::missing, "its library is not beside the program");
}

void doWithoutGraphics() {
    if (!isWanted(Override::noDrawing)) return;
    if (gtk_get_minor_version() < 16)
        environment::set("GDK_DEBUG", "gl-disable");
    else   // there the older name is complained of
        environment::set("GDK_DISABLE", "gl");
    environment::set("WEBKIT_DISABLE_DMABUF_RENDERER", "1");
    if (const auto driver = visibleFile("no-drawing.json"))
        environment::set("__EGL_VENDOR_LIBRARY_FILENAMES", *driver);
    else
        report(Override::noDrawing, Effect::missing, "its driver is not beside the program");
}

}   // namespace ostrel::engineLibraries
