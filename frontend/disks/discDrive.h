/// @file
/// An optical drive, as the kernel sees it.
#pragma once

#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// A drive, or any other block device; or, as "stdio:" and a path, a file in its place. Those always have
/// their disc in.
class DiscDrive {
public:
    /// Whether a name is one of these, and not in a burner's own notation.
    static bool isNode(const std::string& name);

    /// Whether a drive of this name would be a file that is known.
    static bool isFile(const std::string& name, const struct stat& file);

    /// @throw Refusal when it cannot be opened, or is neither
    explicit DiscDrive(const std::string& name);

    /// For messages.
    const std::string& name() const { return m_name; }
    /// The path of its node, or of the file in its place.
    const std::string& path() const { return m_path; }

    /// Whether the kernel knows that it burns nothing.
    bool isReadOnly() const;

    /// @return why there is no disc to read or burn: "there is no disc in the drive '/dev/sr0'"; empty when
    /// there is one, or the drive does not say
    std::string lacksDisc() const;

    /// Closes the tray if need be, and waits for the drive to have read what it is.
    /// @return as above
    std::string takeDiscIn() const;

    /// Opens the disc that is in now, to read what is on it and not what is known of it.
    /// @throw Refusal
    Descriptor openDisc() const;

private:
    std::string m_name;
    std::string m_path;
    Descriptor m_drive;
};

} // namespace velacreate
