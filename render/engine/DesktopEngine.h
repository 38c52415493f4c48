#pragma once

#include "render/engine/EngineHome.h"

namespace ostrel {

// The surroundings that the engine needs in a program with windows, which shows the user's own home and desktop. First
// thing in main, before there are other threads; keep it until the end.
class DesktopEngine {
public:
    DesktopEngine();   // throws FileError if the system's temporary folder cannot be written
    DesktopEngine(const DesktopEngine&) = delete;
    DesktopEngine& operator=(const DesktopEngine&) = delete;

    // False where the system allows the engine no sandbox. Page scripts are off and nothing is loaded all the same.
    bool isSandboxed() const { return isSandboxed_; }

private:
    EngineHome home_;
    bool isSandboxed_ = false;
};

}   // namespace ostrel
