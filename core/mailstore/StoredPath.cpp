#include "core/mailstore/StoredPath.h"

#include <utility>

namespace ostrel {

StoredPath::StoredPath(const std::string& bytes)
    : folder_(bytes.substr(0, bytes.rfind('/') + 1)), name_(bytes, bytes.rfind('/') + 1) {}

StoredPath::StoredPath(Shared<std::string> folder, std::string_view name) : folder_(std::move(folder)), name_(name) {}

}   // namespace ostrel
