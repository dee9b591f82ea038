/// @file
/// Where the finished output is put.
#pragma once

#include "support/descriptor.h"

#include <optional>
#include <string>

namespace velacreate {

/// Checked and held open before the job begins. What is there now stays until the finished output replaces it
/// at once.
class Output {
public:
    /// For an image: refuses a name that does not end in ".iso", an existing file without --force, and
    /// anything else that exists.
    static Output image(const std::string& path, bool force);

    /// For the image of a key, the block map or the checksum of an image: the same, with any name.
    static Output keyImage(const std::string& path, bool force);
    static Output blockMap(const std::string& path, bool force);
    static Output checksum(const std::string& path, bool force);

    /// For a network-boot directory: refuses a mount point, a directory with other files, and an existing
    /// network-boot directory without --force.
    static Output netbootDirectory(const std::string& path, bool force);

    /// For a directory with several files: refuses anything but an empty directory.
    static Output emptyDirectory(const std::string& path);

    /// The directory of the output, where the job directory is made.
    const NamedDirectory& parent() const { return m_parent; }
    /// For messages.
    std::string path() const;

    /// What is there now, if anything.
    const std::optional<struct stat>& present() const { return m_present; }
    /// Opens it.
    /// @throw Refusal
    Descriptor openPresent() const;

    /// Moves the finished file or directory here. It gets the owner and the mode of what it replaces.
    /// @param directory where it is; what it replaces may be left there under its name
    /// @return its status, for `giveBack`
    /// @throw Failure
    struct stat take(const Descriptor& directory, const std::string& name) const;

    /// Undoes `take`, unless something else is here by now.
    /// @return whether everything is as before
    bool giveBack(const Descriptor& directory, const std::string& name, const struct stat& taken) const;

    /// Moves away what is here, unless something else has taken its place.
    /// @return whether it was moved
    bool moveAway(const Descriptor& directory, const std::string& name) const;

    /// Undoes `moveAway`, unless something else is here by now.
    void moveBack(const Descriptor& directory, const std::string& name) const;

private:
    explicit Output(const std::string& path);
    static Output file(const std::string& path, bool force, const std::string& kind);
    static Output directory(const std::string& path, const std::string& kind);
    bool isAsChecked(const Descriptor& directory, const std::string& name) const;
    bool moveHere(const Descriptor& directory, const std::string& name) const;
    bool exchange(const Descriptor& directory, const std::string& name) const;
    bool replace(const Descriptor& directory, const std::string& name) const;

    NamedDirectory m_parent;
    std::string m_name;
    std::optional<struct stat> m_present;
    bool m_staysEmpty = false; ///< nothing that is put into it meanwhile is replaced
};

} // namespace velacreate
