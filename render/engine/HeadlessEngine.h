#pragma once

#include <functional>
#include <memory>

namespace ostrel {

class PrivateDisplay;
class EngineHome;

// The surroundings that printing needs in a program without windows: a display (its own where there is none) and the
// toolkit, without desktop services that a server does not have. First thing in main, on the main thread; keep it until
// the end.
class HeadlessEngine {
public:
    // Throws std::runtime_error with one sentence where there is no display and none can be started, FileError
    // where the system's temporary folder cannot be written.
    // The handler is called once, on the main thread, when the display is lost: nothing can be printed from then on,
    // but the program does not end.
    explicit HeadlessEngine(std::function<void()> displayLost = {});
    HeadlessEngine(const HeadlessEngine&) = delete;
    HeadlessEngine& operator=(const HeadlessEngine&) = delete;
    ~HeadlessEngine();

    // False where the system allows the engine no sandbox. Page scripts are off and nothing is loaded all the same.
    bool isSandboxed() const { return isSandboxed_; }

private:
    bool isSandboxed_ = false;
    std::unique_ptr<EngineHome> home_;   // the engine's, while it runs
    std::unique_ptr<PrivateDisplay> display_;
};

}   // namespace ostrel
