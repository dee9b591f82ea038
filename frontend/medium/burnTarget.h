/// @file
/// What a burning overwrites.
#pragma once

#include "choices.h"
#include "disks/diskLock.h"
#include "display/console.h"

#include <optional>
#include <string>

#include <sys/stat.h>

namespace velacreate {

/// The disc in a drive, a disk, or a file that stands for a drive.
class BurnTarget {
public:
    /// Checks the device. A disk is locked from now on.
    /// @param device as cdrecord's dev= takes it
    /// @throw Refusal
    explicit BurnTarget(std::string device);

    /// The device for the burner. A file or a disk has its real path here, which is the one that was checked.
    const std::string& device() const { return m_device; }
    /// The path of the file or the node; empty when the device has another notation.
    const std::string& path() const { return m_path; }
    /// For messages.
    std::string name() const;
    /// The file or the node; none when the file will be made.
    const std::optional<struct stat>& found() const { return m_found; }

    /// What the kernel knows of a drive or a disk.
    DiskDescription about() const;

    /// Refuses a log file, a report or an events file that would be overwritten.
    void requireOthers(const ShowChoices& choices) const;

    /// Refuses a file that is not empty unless this is forced. Shows a disk, or a disc that is not blank, and
    /// asks for "yes" unless this is given. Does so only once.
    /// @return 0, or EXIT_INTERRUPTED
    /// @throw Refusal also for any other answer, or when nobody can be asked
    int askForConsent(const OverwriteChoices& choices, Console& console);

    /// @throw Refusal when another file or another disc is there by now
    void requireUnchanged() const;

private:
    void takeFile();
    void takeDisc();
    void takeDisk();
    std::string table() const;

    std::string m_device;
    std::string m_path;
    std::optional<struct stat> m_found;
    std::optional<DiskLock> m_lock; ///< of a disk
    bool m_isOptical = false;
    std::string m_content; ///< of a disk or a disc; empty when there is nothing to lose
    bool m_isAgreed = false;
};

} // namespace velacreate
