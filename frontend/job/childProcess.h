/// @file
/// The process of a job.
#pragma once

#include "job/reporter.h"
#include "support/descriptor.h"

#include <functional>

#include <sys/types.h>

namespace velacreate {

/// A process in a session and a group of its own, without input and without a terminal. Where possible (for
/// root, or a user with user namespaces) it has its own process numbers and mounts: then all that it has
/// started ends with it, and all that it has mounted is unmounted, even when the supervisor is killed.
class ChildProcess {
public:
    /// Starts a function in a directory. Its result becomes the exit status; a Refusal becomes EXIT_REFUSED,
    /// another exception EXIT_UNFINISHED, with its text as the reason. SIGTERM should be held (see
    /// HeldSignals), since the process cannot handle it from the start.
    /// @throw Failure when there can be no process
    ChildProcess(int directory, const std::function<int(Reporter&)>& work);

    pid_t number() const { return m_number; }
    /// Readable when the process has ended.
    int ending() const { return m_process.number(); }
    /// Readable when there are events.
    int events() const { return m_events.number(); }
    /// Readable when the process or a program has written something.
    int output() const { return m_output.number(); }

    /// Sends a signal to the whole group.
    void signal(int number) const;

    /// To be called when it has ended. Ends the rest of its group.
    /// @return the exit status, or EXIT_BY_SIGNAL and the signal's number
    int reap() const;

private:
    pid_t m_number = 0;
    Descriptor m_process;
    Descriptor m_events;
    Descriptor m_output;
};

/// Whether this is a job's process with mounts of its own.
bool hasOwnMounts();

/// Ends a job's process when its supervisor ends. A process starts like this, but must call it again after it
/// has changed its user.
void dieWithSupervisor();

} // namespace velacreate
