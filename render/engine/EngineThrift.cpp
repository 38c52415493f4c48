#include "render/engine/EngineThrift.h"

#include "platform/Environment.h"
#include "render/engine/EngineLibraries.h"
#include "render/overrides/Register.h"

#include <string>

#include <malloc.h>

namespace ostrel::engineThrift {
namespace {

// One message after the other needs no arena for each thread, and what a large one took goes back to the system instead
// of raising the allocator's thresholds for good.
void returnMemory() {
    constexpr int large = 4 << 20, arenas = 2;
    mallopt(M_ARENA_MAX, arenas);
    mallopt(M_MMAP_THRESHOLD, large);
    mallopt(M_TRIM_THRESHOLD, large);
    environment::setIfAbsent("MALLOC_ARENA_MAX", std::to_string(arenas));   // in the engine's processes
    environment::setIfAbsent("MALLOC_MMAP_THRESHOLD_", std::to_string(large));
    environment::setIfAbsent("MALLOC_TRIM_THRESHOLD_", std::to_string(large));
}

}   // namespace

void settle() {
    engineLibraries::doWithoutGraphics();
    if (overrides::isWanted(overrides::Override::fewArenas)) returnMemory();
    // Scripts of a few milliseconds for each page gain nothing from a compiler: 8 MB.
    if (overrides::isWanted(overrides::Override::noCompiler)) environment::setIfAbsent("JSC_useBaselineJIT", "0");
}

}   // namespace ostrel::engineThrift
