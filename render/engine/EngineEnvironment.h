#pragma once

#include <map>
#include <optional>
#include <string>

// Variables that the engine's processes find in their environment, and which mean nothing to others.
namespace ostrel::engineEnvironment {

// While there are no other threads.
void set(const std::string& variable, const std::string& value);
// Those that were set, as the user has them, for programs that we start; nothing where there was none.
const std::map<std::string, std::optional<std::string>>& usersOwn();

}   // namespace ostrel::engineEnvironment
