#pragma once

#include <functional>
#include <string>

// Starts programs that are not ours, which would inherit what is closed to this one (platform/NetworkWall.h) and what
// its environment says to the engine: a process does it that was forked before either.
namespace ostrel::launcher {

// Call it first in main, while there is one thread. The process ends when this one does. Returns false if it cannot be
// made; then nothing opens.
bool start();

// token: of the desktop, by which the program may come to the front; may be empty. failed is called from the main loop,
// or at once, if there is no program for it or it does not start.
void openURI(const std::string& uri, const std::string& token, std::function<void()> failed);
void openApplication(const std::string& desktopFile, const std::string& token, std::function<void()> failed);

}   // namespace ostrel::launcher
