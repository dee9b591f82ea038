/// @file
/// An optical drive.
#pragma once

#include "support/descriptor.h"

#include <cstdint>
#include <string>

namespace velacreate {

/// In front of the path of a file that stands in for a drive.
const std::string STAND_IN = "stdio:";

/// @return such as "the disc in /dev/sr0"
inline std::string discText(const std::string& drive) {
    return "the disc in " + drive;
}

/// A drive, another block device, or a file named by "stdio:" and its path. The last two always have a disc.
class DiscDrive {
public:
    /// Whether a name has one of these forms. Burners also have other notations.
    static bool isNode(const std::string& name);

    static bool isStandIn(const std::string& name);

    /// @return the path of the node or the file with such a name
    static std::string pathOf(const std::string& name);

    /// Refuses an image as its own drive.
    static void requireOther(const std::string& name, const struct stat& image);

    /// @throw Refusal when it cannot be opened, or is no drive
    explicit DiscDrive(const std::string& name);

    /// For messages.
    const std::string& name() const { return m_name; }
    /// The path of its node or file.
    const std::string& path() const { return m_path; }

    /// Whether the kernel knows that the drive cannot burn.
    bool isReadOnly() const;

    /// @return why there is no disc to read or burn, such as "there is no disc in the drive '/dev/sr0'";
    /// empty when there is one or the drive does not say
    std::string lacksDisc() const;

    /// @return what is on the disc, see `contentOfDisc`; empty when it is blank
    std::string content() const;

    /// Closes the tray if necessary, and waits until the drive is ready.
    /// @return as above
    std::string takeDiscIn() const;

    /// Opens the disc that is in the drive now, without data cached from an earlier disc.
    /// @throw Refusal
    Descriptor openDisc() const;

    /// The kernel mounts the last session of a disc, and not the volume at its beginning.
    /// @return the block where the last session begins; 0 when it is the only one, or the drive does not say
    static std::uint32_t lastSession(const Descriptor& disc);

private:
    std::string m_name;
    std::string m_path;
    Descriptor m_drive;
};

} // namespace velacreate
