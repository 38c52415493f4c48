#pragma once

// Has the engine write the streams of its PDFs as they are: packing whole fonts takes it half of the time of a page,
// and we pack again what is left of them. A small library does it, preloaded into the engine's processes. Where it is
// missing, the engine packs, and nothing else changes.
namespace ostrel::storedStreams {

// Before other threads and the first process of the engine are started.
void provide();

}   // namespace ostrel::storedStreams
