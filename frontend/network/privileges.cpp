#include "network/privileges.h"

#include "support/failure.h"

#include <algorithm>
#include <array>

#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velacreate {

namespace {

constexpr uid_t NOBODY = 65534;
constexpr gid_t NO_GROUP = 65534;
constexpr const char* PROBLEM = "the server's rights cannot be taken away";

void dropBoundingSet(const std::vector<unsigned>& capabilities) {
    for (unsigned number = 0; prctl(PR_CAPBSET_READ, number) >= 0; ++number) {
        if (std::find(capabilities.begin(), capabilities.end(), number) == capabilities.end()) {
            check(prctl(PR_CAPBSET_DROP, number) == 0).orFail(PROBLEM);
        }
    }
}

void hold(const std::vector<unsigned>& capabilities) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> held{};
    for (const unsigned number : capabilities) {
        auto& part = held.at(CAP_TO_INDEX(number));
        part.effective |= CAP_TO_MASK(number);
        part.permitted = part.inheritable = part.effective;
    }
    check(syscall(SYS_capset, &header, held.data()) == 0).orFail(PROBLEM);
    for (const unsigned number : capabilities) {
        check(prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, number, 0, 0) == 0).orFail(PROBLEM);
    }
}

} // namespace

void becomeNobody(const std::vector<unsigned>& capabilities) {
    dropBoundingSet(capabilities);
    check(prctl(PR_SET_KEEPCAPS, 1) == 0 && setgroups(0, nullptr) == 0 &&
          setresgid(NO_GROUP, NO_GROUP, NO_GROUP) == 0 && setresuid(NOBODY, NOBODY, NOBODY) == 0)
        .orFail(PROBLEM);
    hold(capabilities);
    check(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0).orFail(PROBLEM);
}

} // namespace velacreate
