/// @file
/// What a job reads, counted from outside.
#pragma once

#include <cstdint>

#include <sys/types.h>

namespace velacreate {

/// @return the bytes that a process, its child processes and theirs have read so far; 0 where the kernel does
/// not tell
std::uint64_t bytesReadBy(pid_t process);

} // namespace velacreate
