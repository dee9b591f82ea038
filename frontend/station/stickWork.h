/// @file
/// What is made of the sticks of a station.
#pragma once

#include "forms/byteMap.h"
#include "job/mediumJob.h"
#include "keys/keys.h"
#include "station/pluggedDisks.h"

#include <cstdint>
#include <map>
#include <string>

namespace velacreate {

class StickWork {
public:
    StickWork() = default;
    virtual ~StickWork() = default;
    StickWork(const StickWork&) = delete;
    StickWork& operator=(const StickWork&) = delete;

    /// @return what happens to sticks, in sentences
    virtual std::string announcement() const = 0;

    /// The counts of the stages that the library or the kernel does not report.
    virtual std::map<std::string, Gauge> gauges(const Disk& disk) const = 0;

    /// In the job's process: whether the stick needs nothing.
    virtual bool isRight(const Key& stick, Reporter& reporter) const = 0;

    /// In the job's process: checks the stick, then writes to it.
    /// @return the exit status of the job
    /// @throw Refusal when it must not be written to
    virtual int make(const Key& stick, const Descriptor& jobDirectory, Reporter& reporter) const = 0;

    /// To be called at times, so that nobody takes its files for left ones.
    virtual void refreshFiles() const {}
};

/// Runs the job of one stick, in the job's process.
/// @param mounts  the mount namespace of the supervisor
/// @return the exit status of the job
int runStickJob(const PluggedDisk& plugged, const StickWork& work, const Descriptor& mounts,
                const Descriptor& jobDirectory, Reporter& reporter);

/// Whether nothing is recognised on a stick, and the bytes at its beginning and its end, and in a thousand
/// places between, are all the same.
/// @throw Failure when it cannot be read
bool isBlank(const Descriptor& stick);

} // namespace velacreate
