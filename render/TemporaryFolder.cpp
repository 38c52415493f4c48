#include "render/TemporaryFolder.h"

#include "platform/Files.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace ostrel {

TemporaryFolder::TemporaryFolder(std::string_view prefix) {
    std::error_code error;
    std::filesystem::path parent = std::filesystem::temp_directory_path(error);
    if (error) parent = "/tmp";
    std::string name = (parent / (std::string(prefix) + "XXXXXX")).string();
    if (!mkdtemp(name.data())) throw FileError::writing(name, std::error_code(errno, std::generic_category()));
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}   // namespace ostrel
