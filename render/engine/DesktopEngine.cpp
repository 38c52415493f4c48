#include "render/engine/DesktopEngine.h"

#include "render/engine/EngineLibraries.h"
#include "render/engine/EngineSandbox.h"
#include "render/engine/ReducedFonts.h"

namespace ostrel {

DesktopEngine::DesktopEngine() {
    const auto cache = usersCache();
    home_.moveCacheIn();
    if (!reducedFonts::provide(cache)) reducedFonts::provide(home_.path());
    engineLibraries::storeStreams();
    isSandboxed_ = engineSandbox::allowOrDoWithout();
}

}   // namespace ostrel
