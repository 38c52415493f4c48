#include "render/engine/DesktopEngine.h"

#include "render/engine/EngineLibraries.h"
#include "render/engine/EngineSandbox.h"
#include "render/engine/ReducedFonts.h"
#include "render/loop/Log.h"
#include "render/overrides/Register.h"

namespace ostrel {

DesktopEngine::DesktopEngine() {
    engineLog::useStandardError();
    overrides::logTakenAway();
    const auto cache = usersCache();
    home_.moveCacheIn();
    reducedFonts::provide(cache, home_.path());
    engineLibraries::storeStreams();
    isSandboxed_ = engineSandbox::allowOrDoWithout();
}

}   // namespace ostrel
