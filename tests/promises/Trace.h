#pragma once

#include "tests/tools/Program.h"

#include <filesystem>
#include <string>
#include <vector>

namespace ostrel {

// What a command and everything it started asked of the system about files and sockets, seen by strace. Nothing that
// reads, writes or sends through an open descriptor: what may be done with one is settled when it is opened.
class Trace {
public:
    // False where the system lets nobody watch a process (some containers).
    static bool isPossible(const std::filesystem::path& scratch);

    // Starts the command as a Program does; the folder takes its outputs and the trace.
    Trace(std::vector<std::string> command, const std::filesystem::path& scratch);

    Program& program() { return program_; }
    // One line for each call, as strace(1) writes it with the paths of descriptors. Complete after program().wait().
    std::vector<std::string> calls() const;

private:
    std::filesystem::path folder_;
    Program program_;
};

}   // namespace ostrel
