#pragma once

#include <csignal>
#include <string>
#include <vector>

#include <sys/types.h>

namespace ostrel {

// A child process with its outputs kept.
class Program {
public:
    // Starts it with HOME and XDG_CONFIG_HOME in the given folder, LC_ALL=en_US.UTF-8, TZ=UTC.
    Program(const std::vector<std::string>& command, const std::string& home);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program();

    void signal(int number) const { kill(pid_, number); }
    // The pids of all its descendants whose name begins with the text.
    std::vector<pid_t> descendants(const std::string& name) const;
    // Waits for the end; the exit code, or minus the signal that ended it.
    int wait();

    // Complete after wait().
    std::string output() const;
    std::string errors() const;

private:
    std::string outputFile_, errorFile_;
    pid_t pid_ = -1;
    int status_ = 0;
};

}   // namespace ostrel
