#include "platform/SHA256.h"

#include "platform/Files.h"

// Nettle: within a tenth of the fastest of the three libraries of Debian that use the processor's own instructions, and
// the one that is nothing but functions. libgcrypt, a little faster, wants to be set up once for the whole process,
// which the web engine does in its own way.
#include <nettle/sha2.h>

namespace ostrel {
namespace {

class Hash {
public:
    Hash() { sha256_init(&context_); }
    void add(ByteView bytes) {
        sha256_update(&context_, bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
    }
    Digest digest() {
        Digest result;
        sha256_digest(&context_, result.size(), reinterpret_cast<std::uint8_t*>(result.data()));
        return result;
    }

private:
    sha256_ctx context_;
};

// -1 for what is no hexadecimal digit.
int valueOf(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}   // namespace

Digest sha256(ByteView bytes) {
    Hash hash;
    hash.add(bytes);
    return hash.digest();
}

Digest sha256OfFile(const std::filesystem::path& path) {
    files::ReadHandle file(path);
    Hash hash;
    std::array<char, 65536> buffer;
    while (const std::size_t count = file.read(buffer)) hash.add(bytesOf({buffer.data(), count}));
    return hash.digest();
}

std::string hexOf(const Digest& digest) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string hex;
    hex.reserve(2 * digest.size());
    for (const std::byte byte : digest) {
        hex += digits[std::to_integer<unsigned>(byte) >> 4];
        hex += digits[std::to_integer<unsigned>(byte) & 15U];
    }
    return hex;
}

std::optional<Digest> digestOf(std::string_view hex) {
    Digest digest;
    if (hex.size() != 2 * digest.size()) return std::nullopt;
    for (std::size_t i = 0; i < digest.size(); ++i) {
        const int high = valueOf(hex[2 * i]), low = valueOf(hex[2 * i + 1]);
        if (high < 0 || low < 0) return std::nullopt;
        digest[i] = static_cast<std::byte>(high * 16 + low);
    }
    return digest;
}

}   // namespace ostrel
