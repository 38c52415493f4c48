#include "pictures/helper/Wall.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <memory>

#include <fcntl.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

namespace ostrel::pictures::wall {
namespace {

// What reading, writing, memory and clocks need; nothing takes a path.
constexpr std::array plainCalls = {
    SCMP_SYS(read),
    SCMP_SYS(write),
    SCMP_SYS(lseek),
    SCMP_SYS(pread64),
    SCMP_SYS(close),
    SCMP_SYS(dup),
    SCMP_SYS(fstat),
    SCMP_SYS(brk),
    SCMP_SYS(munmap),
    SCMP_SYS(mremap),
    SCMP_SYS(madvise),
    SCMP_SYS(futex),
    SCMP_SYS(clock_gettime),
    SCMP_SYS(gettimeofday),
    SCMP_SYS(getrandom),
    SCMP_SYS(sysinfo),
    SCMP_SYS(rt_sigreturn),
    SCMP_SYS(rt_sigprocmask),
    SCMP_SYS(rt_sigaction),
    SCMP_SYS(sigaltstack),
    SCMP_SYS(setitimer),
    SCMP_SYS(sched_yield),
    SCMP_SYS(sched_getaffinity),
    SCMP_SYS(getpid),
    SCMP_SYS(gettid),
    SCMP_SYS(set_robust_list),
    SCMP_SYS(rseq),
    SCMP_SYS(restart_syscall),
    SCMP_SYS(exit),
    SCMP_SYS(exit_group),
};

struct Releaser {
    void operator()(void* filter) const { seccomp_release(filter); }
};

bool filterCalls() {
    const std::unique_ptr<void, Releaser> filter(seccomp_init(SCMP_ACT_ERRNO(EPERM)));
    if (!filter) return false;
    int failed = 0;
    const auto allow = [&](int call, auto... conditions) {
        failed |= seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, call, sizeof...(conditions), conditions...);
    };
    for (const int call : plainCalls) allow(call);
    constexpr auto isNotRunnable = [](unsigned argument) {
        return SCMP_CMP64(argument, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0);
    };
    allow(SCMP_SYS(mmap), isNotRunnable(2));
    allow(SCMP_SYS(mprotect), isNotRunnable(2));
    allow(SCMP_SYS(fcntl), SCMP_CMP64(1, SCMP_CMP_EQ, F_GETFL));
    allow(SCMP_SYS(fcntl), SCMP_CMP64(1, SCMP_CMP_EQ, F_SETFD));
    // Its own end by abort(), and nobody else's.
    const auto self = static_cast<scmp_datum_t>(getpid());
    allow(SCMP_SYS(tgkill), SCMP_CMP64(0, SCMP_CMP_EQ, self));
    allow(SCMP_SYS(kill), SCMP_CMP64(0, SCMP_CMP_EQ, self));
    // The decoder of HEIC wants a thread beside it. The newer call hides its flags in memory, where they cannot be
    // judged; the C library takes the older one when that is missing.
    allow(SCMP_SYS(clone), SCMP_CMP64(0, SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD));
    failed |= seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0);
    return failed == 0 && seccomp_load(filter.get()) == 0;   // sets no_new_privs as well
}

bool limit(__rlimit_resource_t what, rlim_t most) {
    const rlimit limits{most, most};
    return setrlimit(what, &limits) == 0;
}

}   // namespace

bool close() {
    return limit(RLIMIT_AS, memoryBytes) && limit(RLIMIT_CORE, 0) && limit(RLIMIT_FSIZE, 0) &&
           prctl(PR_SET_DUMPABLE, 0) == 0 && filterCalls();
}

void limitTime(std::uint32_t milliseconds) {
    const itimerval timer{{0, 0}, {milliseconds / 1000, static_cast<suseconds_t>(milliseconds % 1000) * 1000}};
    setitimer(ITIMER_PROF, &timer, nullptr);
}

}   // namespace ostrel::pictures::wall
