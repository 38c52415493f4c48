#include "render/StoredStreams.h"

#include "platform/Files.h"
#include "platform/Installation.h"
#include "render/EngineEnvironment.h"

#include <cstdlib>
#include <string>

namespace ostrel::storedStreams {
namespace {

constexpr const char* library = "libostrel-stored-streams.so";

// In front of what the user's own list has (ld.so(8)).
void addToList(const char* variable, const std::string& path) {
    const char* const others = std::getenv(variable);
    engineEnvironment::set(variable, others && *others ? path + ':' + others : path);
}

}   // namespace

void provide() {
    const std::string folder = installation::prefix() / "lib" / "ostrel", file = folder + '/' + library;
    constexpr const char* separators = ": ;$";   // the lists have no way to quote them
    if (file.find_first_of(separators) != std::string::npos || !files::isRegularFile(file)) return;
    addToList("LD_PRELOAD", file);
    // The folders of this one are seen in all of the engine's sandboxes, wherever they lie.
    addToList("LD_LIBRARY_PATH", folder);
}

}   // namespace ostrel::storedStreams
