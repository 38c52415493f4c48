#include "platform/NetworkWall.h"

#include <array>
#include <cerrno>
#include <memory>

#include <seccomp.h>
#include <sys/socket.h>

namespace ostrel::networkWall {
namespace {

struct Release {
    void operator()(void* filter) const { seccomp_release(filter); }
};

// A rule about the first argument, the family of addresses. The filter compares all 64 bits of it, of which the kernel
// looks at 32: a family with anything in the others is above all that are let through.
bool refuseFamilies(scmp_filter_ctx filter, scmp_compare compare, scmp_datum_t family) {
    return seccomp_rule_add(filter, SCMP_ACT_ERRNO(EAFNOSUPPORT), SCMP_SYS(socket), 1,
                            scmp_arg_cmp{0, compare, family, 0}) == 0;
}

bool refuseCall(scmp_filter_ctx filter, int call) {
    return seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), call, 0) == 0;
}

}   // namespace

bool raise() {
    const std::unique_ptr<void, Release> filter(seccomp_init(SCMP_ACT_ALLOW));
    if (!filter) return false;
    static_assert(AF_UNSPEC == 0 && AF_UNIX == 1 && AF_UNIX < AF_NETLINK);
    bool isComplete = refuseFamilies(filter.get(), SCMP_CMP_LT, AF_UNIX);
    for (scmp_datum_t family = AF_UNIX + 1; family < AF_NETLINK; ++family)
        isComplete = isComplete && refuseFamilies(filter.get(), SCMP_CMP_EQ, family);
    isComplete = isComplete && refuseFamilies(filter.get(), SCMP_CMP_GT, AF_NETLINK);
    for (const int call : {SCMP_SYS(io_uring_setup), SCMP_SYS(io_uring_enter), SCMP_SYS(io_uring_register)})
        isComplete = isComplete && refuseCall(filter.get(), call);
    return isComplete && seccomp_load(filter.get()) == 0;
}

}   // namespace ostrel::networkWall
