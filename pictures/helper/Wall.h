#pragma once

#include <cstdint>

namespace ostrel::pictures::wall {

// Beyond it there is no more memory: a photograph of 48 megapixels takes half of it.
inline constexpr std::uint64_t memoryBytes = std::uint64_t{1} << 30;

// Shuts this process in, for good: of the files that are open it can go on reading and writing, but it opens none,
// makes no socket, starts no program, and maps nothing that can be run. Other calls fail with EPERM, so that libraries
// that try to open something go on without. False where the system has no such walls; then nothing may be decoded.
bool close();

// Ends the process (SIGPROF) once it has used so much more processor time; 0: never.
void limitTime(std::uint32_t milliseconds);

}   // namespace ostrel::pictures::wall
