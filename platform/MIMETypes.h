#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ostrel::mimeTypes {

// The usual file-name extension, without the dot, of a lower-case MIME type ("image/jpeg" gives "jpeg"). Our own table
// for what mail carries, then the system's (shared-mime-info). Nothing when neither knows the type.
std::optional<std::string> preferredExtension(std::string_view mimeType);

}   // namespace ostrel::mimeTypes
