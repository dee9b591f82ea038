#include "network/nobody.h"

#include "support/failure.h"

#include <cap-ng.h>

#include <sys/prctl.h>

namespace velacreate {
namespace {
constexpr int NOBODY = 65534;
constexpr int NO_GROUP = 65534;
constexpr auto ALL_SETS = static_cast<capng_type_t>(CAPNG_EFFECTIVE | CAPNG_PERMITTED | CAPNG_INHERITABLE |
                                                    CAPNG_BOUNDING_SET | CAPNG_AMBIENT);
} // namespace

void becomeNobody(const std::vector<unsigned>& capabilities) {
    capng_clear(CAPNG_SELECT_ALL);
    for (const unsigned number : capabilities) {
        if (capng_update(CAPNG_ADD, ALL_SETS, number) != 0) {
            throw Failure("the server's rights cannot be chosen");
        }
    }
    // Reducing the bounding set needs a capability of root. A change of the user clears the ambient set.
    check(capng_apply(CAPNG_SELECT_BOUNDS) == 0 &&
          capng_change_id(NOBODY, NO_GROUP, CAPNG_DROP_SUPP_GRP) == 0 &&
          capng_apply(CAPNG_SELECT_AMBIENT) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0)
        .orFail("the server's rights cannot be taken away");
}

} // namespace velacreate
