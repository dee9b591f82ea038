/// @file
/// Sticks that are made from the tool package and the update files.
#pragma once

#include "keys/keyJobs.h"
#include "station/stickWork.h"

namespace velacreate {

class FilledSticks : public StickWork {
public:
    /// @param choices --erase and --format are heeded
    /// @param staged  all files, packed for the library
    /// @param unpacked  the same, to be compared with
    FilledSticks(const Call& call, const UsbChoices& choices, const JobDirectory& staged,
                 const JobDirectory& unpacked)
        : m_call(call), m_choices(choices), m_staged(staged), m_unpacked(unpacked) {}

    std::string announcement() const override;
    std::map<std::string, Gauge> gauges(const Disk& disk) const override;
    bool isRight(const Key& stick, Reporter& reporter) const override;
    int make(const Key& stick, const Descriptor& jobDirectory, Reporter& reporter) const override;
    void refreshFiles() const override;

private:
    UsbChoices choicesFor(const Key& stick) const;

    const Call& m_call;
    const UsbChoices& m_choices;
    const JobDirectory& m_staged;
    const JobDirectory& m_unpacked;
};

} // namespace velacreate
