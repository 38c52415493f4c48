#include "render/engine/EngineEnvironment.h"

#include <cstdlib>

namespace ostrel::engineEnvironment {
namespace {

std::map<std::string, std::optional<std::string>>& saved() {
    static std::map<std::string, std::optional<std::string>> values;
    return values;
}

}   // namespace

void set(const std::string& variable, const std::string& value) {
    const char* const before = std::getenv(variable.c_str());
    saved().try_emplace(variable, before ? std::optional<std::string>(before) : std::nullopt);
    setenv(variable.c_str(), value.c_str(), 1);
}

const std::map<std::string, std::optional<std::string>>& usersOwn() { return saved(); }

}   // namespace ostrel::engineEnvironment
