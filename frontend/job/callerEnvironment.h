/// @file
/// What velacreate keeps of the caller that it is started in.
#pragma once

#include <string>

namespace velacreate {

/// Settings of the caller's that the environment no longer holds afterwards. Empty when not given.
struct CallerEnvironment {
    std::string toolkit;            ///< VELACREATE_TOOLKIT, the launchers' folder
    std::string temporaryDirectory; ///< TMPDIR
};

/// To be called before anything else, as a job relies on it: descriptors 0 to 2 are open, no other one
/// reaches a program, no signal is blocked or ignored (but a hang-up under nohup; and SIGPIPE and SIGXFSZ,
/// since output that cannot be written must not end the supervisor), files are made with umask 022, and the
/// environment holds a fixed search path, the language, the time zone, TERM and SOURCE_DATE_EPOCH only.
CallerEnvironment isolateFromCaller();

} // namespace velacreate
