/// @file
/// What a server may do on this machine.
#pragma once

#include <vector>

namespace velacreate {

/// Lets this process be nobody from now on, and with it what it turns into: a user without rights but a few
/// of root's, which can get no others.
/// @param capabilities  by their numbers in <linux/capability.h>
/// @throw Failure
void becomeNobody(const std::vector<unsigned>& capabilities);

} // namespace velacreate
