#include "tests/promises/Trace.h"

#include <fstream>
#include <utility>

namespace ostrel {
namespace {

namespace fs = std::filesystem;

constexpr const char* strace = "/usr/bin/strace";

// Beside the calls with a path: those that change or lock a file by its descriptor, and those that could do anything
// unseen.
constexpr const char* watched =
    "trace=%file,fchdir,fcntl,flock,ftruncate,fchmod,fchown,fallocate,fsetxattr,"
    "fremovexattr,copy_file_range,ioctl,open_by_handle_at,io_uring_setup,socket,connect";

fs::path newFolder(const fs::path& scratch) {
    static int count = 0;
    const fs::path folder = scratch / ("trace-" + std::to_string(++count));
    fs::create_directory(folder);
    return folder;
}

// One file for each thread, so that no line is torn by another's.
std::vector<std::string> traced(const fs::path& folder, std::vector<std::string> command) {
    std::vector<std::string> all = {strace,  "-ff", "--seccomp-bpf",         "--quiet=all", "--decode-fds=path", "-e",
                                    watched, "-o",  (folder / "of").native()};
    for (std::string& word : command) all.push_back(std::move(word));
    return all;
}

}   // namespace

bool Trace::isPossible(const fs::path& scratch) { return Trace({"/bin/true"}, scratch).program().wait() == 0; }

Trace::Trace(std::vector<std::string> command, const fs::path& scratch)
    : folder_(newFolder(scratch)), program_(traced(folder_, std::move(command)), scratch) {}

std::vector<std::string> Trace::calls() const {
    std::vector<std::string> lines;
    for (const auto& entry : fs::directory_iterator(folder_)) {
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) lines.push_back(std::move(line));
    }
    return lines;
}

}   // namespace ostrel
