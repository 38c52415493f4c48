#include "render/engine/EngineSandbox.h"

#include "platform/Environment.h"
#include "render/overrides/Register.h"

#include <cerrno>
#include <cstdlib>
#include <initializer_list>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace ostrel::engineSandbox {
namespace {

// What the engine asks bubblewrap for: namespaces of its own and the system's files to read.
bool canMakeSandbox() {
    const char* const command[] = {
        "bwrap",         "--die-with-parent", "--ro-bind",     "/",    "/",    "--dev", "/dev", "--proc", "/proc",
        "--unshare-pid", "--unshare-uts",     "--unshare-net", "true", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, standard, "/dev/null", O_RDWR, 0);
    }
    pid_t child = -1;
    const int failed = posix_spawnp(&child, command[0], &actions, nullptr, const_cast<char* const*>(command), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) return false;
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return false;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}   // namespace

bool allowOrDoWithout() {
    constexpr const char* switchOff = "WEBKIT_DISABLE_SANDBOX_THIS_IS_DANGEROUS";   // the engine has no other
    if (std::getenv(switchOff) != nullptr) return false;
    // Inside a Flatpak bubblewrap cannot run; there the engine has Flatpak make the sandbox.
    if (access("/.flatpak-info", F_OK) == 0 || canMakeSandbox()) {
        overrides::report(overrides::Override::noSandbox, overrides::Effect::notNeeded, "the engine has its sandbox");
        return true;
    }
    overrides::report(overrides::Override::noSandbox, overrides::Effect::active);
    environment::set(switchOff, "1");
    return false;
}

}   // namespace ostrel::engineSandbox
