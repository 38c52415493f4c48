#pragma once

#include <map>
#include <optional>
#include <string>

// The environment that programs started by this one inherit. All changes to it go through here, so that each is known
// and a program that is not ours, a browser for a link, gets none of them. Changes are made while there are no other
// threads.
namespace ostrel::environment {

// Returns the variable's value; nullopt if it is not set or empty.
std::optional<std::string> value(const char* variable);

void set(const std::string& variable, const std::string& value);
// Leaves a value that somebody else has set, an empty one included.
void setIfAbsent(const std::string& variable, const std::string& value);
void unset(const std::string& variable);

// Returns every variable that was changed here, with the value it had before the first change; nullopt if it was not
// set.
const std::map<std::string, std::optional<std::string>>& usersOwn();

}   // namespace ostrel::environment
