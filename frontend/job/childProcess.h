/// @file
/// The process in which a job runs, with all that it starts.
#pragma once

#include "job/reporter.h"
#include "support/descriptor.h"

#include <functional>
#include <optional>

#include <sys/types.h>

namespace velacreate {

/// A process in a group of its own, without input. Where the rights allow (root, or a user who may have user
/// namespaces) it also has process numbers and mounts of its own: then the kernel ends all that it has
/// started with it, and unmounts what it has mounted, even when its supervisor is killed.
class ChildProcess {
public:
    /// Starts a function, in a directory. What it returns becomes the exit status; a Refusal becomes
    /// EXIT_REFUSED and any other exception EXIT_UNFINISHED, with its text told as the reason. SIGTERM should
    /// be held (see HeldSignals): one that comes before the process can handle it would be lost.
    /// @throw Failure when no process can be had
    ChildProcess(int directory, const std::function<int(Reporter&)>& work);

    /// Readable when the process has ended.
    int ending() const { return m_process.number(); }
    /// Readable when there are events.
    int events() const { return m_events.number(); }
    /// Readable when it, or a program without a capture file, has said something.
    int output() const { return m_output.number(); }

    /// Sends a signal to all of the group.
    void signal(int number) const;

    /// To be called once it has ended, and with it everything in its group.
    /// @return the exit status, or 128 and the signal's number
    int reap() const;

private:
    pid_t m_number = 0;
    Descriptor m_process;
    Descriptor m_events;
    Descriptor m_output;
};

/// Whether this is a job's process that has mounts of its own, in which it may do as it likes.
bool hasOwnMounts();

/// Lets a job's process end with its supervisor. It does so from the start, but not any more once it is
/// another user's: then this is to be called again.
void dieWithSupervisor();

} // namespace velacreate
