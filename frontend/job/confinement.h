/// @file
/// A process for data of unknown origin.
#pragma once

#include "job/reporter.h"
#include "support/descriptor.h"

#include <functional>

namespace velacreate {

/// In the job's process: runs a function in a process without privileges, to which open descriptors and one
/// directory are left, where the kernel allows that. The process gets 256 MiB of memory beyond what it has.
/// @param visible  the directory; it becomes the root directory and the current directory
/// @return the function's result; a Refusal and a Failure are reported, and become their exit statuses
/// @throw Failure when `prolong` was not called for 20 seconds
int runConfined(const Descriptor& visible, const std::function<int()>& work, const Reporter& reporter);

/// In a job's process: leaves 256 MiB of memory beyond what it has, and of all files one directory, which
/// becomes the root directory and the current directory, where the kernel allows that.
/// @throw Failure
void hideFiles(const Descriptor& visible);

/// To be called when the process has made progress. Does nothing in another process.
void prolong();

} // namespace velacreate
