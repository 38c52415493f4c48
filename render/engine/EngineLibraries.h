#pragma once

// Small libraries of ours within the engine's processes. Where they are missing the engine does without, and nothing
// else changes. Each function before other threads and the first process of the engine are started.
namespace ostrel::engineLibraries {

// Has the engine write the streams of its PDFs as they are: packing whole fonts takes it half of the time of a page,
// and we pack again what is left of them.
void storeStreams();

// Gives toolkit and engine an OpenGL without anything to draw with, for programs without windows: drivers and their
// compiler take 50 MB in the web process and 20 MB in ours.
void doWithoutGraphics();

}   // namespace ostrel::engineLibraries
