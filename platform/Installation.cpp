#include "platform/Installation.h"

#include <system_error>

namespace ostrel::installation {

std::filesystem::path prefix() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path().parent_path();
}

}   // namespace ostrel::installation
