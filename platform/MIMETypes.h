#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ostrel::mimeTypes {

// Returns the usual extension, without the dot, of a lower-case MIME type ("image/jpeg" gives "jpeg"). Our own table
// for what mail carries, then the system's (shared-mime-info). nullopt if neither knows the type.
std::optional<std::string> preferredExtension(std::string_view mimeType);

}   // namespace ostrel::mimeTypes
