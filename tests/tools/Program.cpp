#include "tests/tools/Program.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostrel {

namespace {

std::string contentOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

struct Process {
    pid_t parent;
    std::string name;
};

std::map<pid_t, Process> allProcesses() {
    std::map<pid_t, Process> all;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string stat = contentOf(entry.path() / "stat");
        const std::size_t open = stat.find('('), close = stat.rfind(')');
        if (open == std::string::npos || close == std::string::npos || close + 4 > stat.size()) continue;
        const pid_t parent = std::atoi(stat.c_str() + close + 4);   // ") S <parent>"
        all[std::atoi(stat.c_str())] = {parent, stat.substr(open + 1, close - open - 1)};
    }
    return all;
}

}   // namespace

Program::Program(const std::vector<std::string>& command, const std::string& home) {
    static std::atomic<int> count = 0;
    const std::string base = home + "/program-" + std::to_string(++count);
    outputFile_ = base + ".out";
    errorFile_ = base + ".err";
    pid_ = fork();
    if (pid_ != 0) return;
    setenv("HOME", home.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home + "/config").c_str(), 1);
    setenv("LC_ALL", "en_US.UTF-8", 1);
    setenv("TZ", "UTC", 1);
    const int flags = O_WRONLY | O_CREAT | O_TRUNC;
    dup2(open(outputFile_.c_str(), flags, 0600), STDOUT_FILENO);
    dup2(open(errorFile_.c_str(), flags, 0600), STDERR_FILENO);
    std::vector<char*> arguments;
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
}

Program::~Program() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
}

std::vector<pid_t> Program::descendants(const std::string& name) const {
    const auto all = allProcesses();
    std::vector<pid_t> found;
    for (const auto& [pid, process] : all) {
        if (!process.name.starts_with(name)) continue;
        pid_t ancestor = process.parent;
        while (ancestor != pid_ && all.contains(ancestor)) ancestor = all.at(ancestor).parent;
        if (ancestor == pid_) found.push_back(pid);
    }
    return found;
}

int Program::wait() {
    waitpid(pid_, &status_, 0);
    pid_ = -1;
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -WTERMSIG(status_);
}

std::string Program::output() const { return contentOf(outputFile_); }

std::string Program::errors() const { return contentOf(errorFile_); }

}   // namespace ostrel
