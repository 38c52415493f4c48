#include "platform/Environment.h"

#include <cstdlib>

namespace ostrel::environment {
namespace {

std::map<std::string, std::optional<std::string>>& saved() {
    static std::map<std::string, std::optional<std::string>> values;
    return values;
}

void remember(const std::string& variable) {
    const char* const before = std::getenv(variable.c_str());
    saved().try_emplace(variable, before ? std::optional<std::string>(before) : std::nullopt);
}

}   // namespace

std::optional<std::string> value(const char* variable) {
    const char* const text = std::getenv(variable);
    return text && *text ? std::optional<std::string>(text) : std::nullopt;
}

void set(const std::string& variable, const std::string& value) {
    remember(variable);
    ::setenv(variable.c_str(), value.c_str(), 1);
}

void setIfAbsent(const std::string& variable, const std::string& value) {
    if (std::getenv(variable.c_str()) == nullptr) set(variable, value);
}

void unset(const std::string& variable) {
    remember(variable);
    ::unsetenv(variable.c_str());
}

const std::map<std::string, std::optional<std::string>>& usersOwn() { return saved(); }

}   // namespace ostrel::environment
