/// @file
/// The caller's environment, and protection from it.
#pragma once

#include <string>

namespace velacreate {

/// Settings of the caller that are removed from the environment; empty when not set.
struct CallerEnvironment {
    std::string toolkit;            ///< VELACREATE_TOOLKIT, the folder of the launchers
    std::string temporaryDirectory; ///< TMPDIR
};

/// To be called first. Jobs rely on it: descriptors 0 to 2 are open, and no other one is inherited; no signal
/// is blocked or ignored, except SIGHUP under nohup, and SIGPIPE and SIGXFSZ, so that a failed write does not
/// end the supervisor; the umask is 022; the environment holds only a fixed search path, the language, the
/// time zone, TERM and SOURCE_DATE_EPOCH.
CallerEnvironment isolateFromCaller();

/// To be called before a command runs, because jobs reach open files and mounts through "/proc".
/// @throw Failure when "/proc" does not show this process
void requireProc();

} // namespace velacreate
