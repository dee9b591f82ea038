#include "network/systemCalls.h"

#include "support/failure.h"

#include <cerrno>
#include <memory>

#include <seccomp.h>

namespace velacreate {
namespace {
constexpr int FORBIDDEN[] = {
    // other processes
    SCMP_SYS(clone), SCMP_SYS(clone3), SCMP_SYS(fork), SCMP_SYS(vfork), SCMP_SYS(ptrace),
    SCMP_SYS(process_vm_readv), SCMP_SYS(process_vm_writev), SCMP_SYS(pidfd_getfd),
    // other files
    SCMP_SYS(mount), SCMP_SYS(umount2), SCMP_SYS(move_mount), SCMP_SYS(open_tree), SCMP_SYS(fsopen),
    SCMP_SYS(fspick), SCMP_SYS(fsmount), SCMP_SYS(mount_setattr), SCMP_SYS(pivot_root), SCMP_SYS(chroot),
    SCMP_SYS(unshare), SCMP_SYS(setns), SCMP_SYS(open_by_handle_at),
    // parts of the kernel that often had faults
    SCMP_SYS(bpf), SCMP_SYS(perf_event_open), SCMP_SYS(userfaultfd), SCMP_SYS(io_uring_setup),
    SCMP_SYS(keyctl), SCMP_SYS(add_key), SCMP_SYS(request_key)};

struct FilterReleaser {
    void operator()(void* filter) const { seccomp_release(filter); }
};
} // namespace

void forbidSystemCalls() {
    const std::unique_ptr<void, FilterReleaser> filter(seccomp_init(SCMP_ACT_ALLOW));
    bool isDone = filter != nullptr;
    for (const int call : FORBIDDEN) {
        isDone = isDone && seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(EPERM), call, 0) == 0;
    }
    if (!isDone || seccomp_load(filter.get()) != 0) {
        throw Failure("the server's system calls cannot be limited");
    }
}

} // namespace velacreate
