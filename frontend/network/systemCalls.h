/// @file
/// The system calls of the server.
#pragma once

namespace velacreate {

/// Forbids this process, and what it becomes, the system calls that no server needs. They fail with EPERM.
/// @throw Failure
void forbidSystemCalls();

} // namespace velacreate
