#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

// The engine's processes that show and print pages, as the system tells of them (proc(5)).
namespace ostrel::webProcess {

// Returns the process that this program started last; nullopt if there is none or the system hides it, as Flatpak does.
std::optional<pid_t> current();

// Returns all of this program's; empty if the system hides them.
std::vector<pid_t> all();

// Returns how many bytes of memory the process holds; 0 if it has ended.
std::uint64_t memoryOf(pid_t process);

// Returns the process's environment, each as "NAME=value"; empty if the system does not tell.
std::vector<std::string> environmentOf(pid_t process);

// Returns what the system tells of the files that the process has mapped, one a line; empty if it does not tell.
std::string mapsOf(pid_t process);

}   // namespace ostrel::webProcess
