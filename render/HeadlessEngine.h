#pragma once

#include <memory>

namespace ostrel {

class PrivateDisplay;
class TemporaryFolder;

// The surroundings that printing needs in a program without windows: a display (its own where there is none) and the
// toolkit, without desktop services that a server does not have. First thing in main, on the main thread; keep it until
// the end.
class HeadlessEngine {
public:
    // Throws std::runtime_error with one sentence where there is no display and none can be started.
    HeadlessEngine();
    HeadlessEngine(const HeadlessEngine&) = delete;
    HeadlessEngine& operator=(const HeadlessEngine&) = delete;
    ~HeadlessEngine();

    // False where the system allows the engine no sandbox. Page scripts are off and nothing is loaded all the same.
    bool isSandboxed() const { return isSandboxed_; }

private:
    bool isSandboxed_ = false;
    std::unique_ptr<TemporaryFolder> cache_;   // null where the user's own can be written
    std::unique_ptr<PrivateDisplay> display_;
};

}   // namespace ostrel
