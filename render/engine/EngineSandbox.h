#pragma once

// The web engine puts its processes into a sandbox made by bubblewrap, and ends the program where that fails.
namespace ostrel::engineSandbox {

// Tries to make such a sandbox; where the system allows none (some containers and chroots), the engine is told to go on
// without, and this says so by false. Before the engine starts, on the main thread.
bool allowOrDoWithout();

}   // namespace ostrel::engineSandbox
