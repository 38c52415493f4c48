#pragma once

#include "platform/Bytes.h"

#include <array>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace ostrel {

// A SHA-256 digest (FIPS 180-4).
using Digest = std::array<std::byte, 32>;

Digest sha256(ByteView bytes);
// Of a file's content, read piece by piece. Throws FileError.
Digest sha256OfFile(const std::filesystem::path& path);

// 64 digits, lower case; and back, nullopt for anything else. Capitals are read too.
std::string hexOf(const Digest& digest);
std::optional<Digest> digestOf(std::string_view hex);

}   // namespace ostrel
