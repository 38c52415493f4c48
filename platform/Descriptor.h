#pragma once

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace ostrel::files {

// Owns an open file descriptor. Above platform/ for sockets and pipes only: files are opened in Files.h.
class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }
    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }
    int release() { return std::exchange(number_, -1); }

private:
    int number_;
};

// Repeats the call while a signal interrupts it, and returns its result.
template <typename Call>
auto uninterrupted(Call call) {
    decltype(call()) result;
    do result = call();
    while (result < 0 && errno == EINTR);
    return result;
}

inline std::error_code lastError() { return {errno, std::generic_category()}; }

// Opens a regular file for reading, leaving its access time alone where the system lets us. Throws FileError.
Descriptor openForReading(const std::filesystem::path& path);

}   // namespace ostrel::files
