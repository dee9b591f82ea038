/// @file
/// The place of a finished image or package.
#pragma once

#include "support/descriptor.h"

#include <optional>
#include <string>

namespace velacreate {

/// Checked, and held open, before the job begins. What stands there stays until the finished output takes its
/// place, at once and whole.
class Output {
public:
    /// For an image: refuses a name that does not end in ".iso", and what cannot be replaced by a file, or
    /// only with
    /// --force.
    static Output image(const std::string& path, bool force);

    /// For the checksum beside an image: the same, but for what its name ends in.
    static Output checksum(const std::string& path, bool force);

    /// For a package's directory: refuses one that is not empty, unless it is a package and --force is given,
    /// and one that is a mount point.
    static Output netbootDirectory(const std::string& path, bool force);

    /// The directory that the output lies in, where its job directory is made.
    const NamedDirectory& parent() const { return m_parent; }
    /// For messages.
    std::string path() const;

    /// What stands there now, if anything.
    const std::optional<struct stat>& present() const { return m_present; }
    /// Opens it.
    /// @throw Refusal
    Descriptor openPresent() const;

    /// Moves the finished file or directory here, with the owner and the mode of what it replaces.
    /// @param directory  where it stands, under a name; what it replaces is left there in its stead, or gone
    /// @return what it is, for `giveBack`
    /// @throw Failure
    struct stat take(const Descriptor& directory, const std::string& name) const;

    /// Undoes `take`, unless something else has come here, or what was replaced is gone.
    /// @return whether all is as it was before
    bool giveBack(const Descriptor& directory, const std::string& name, const struct stat& taken) const;

private:
    explicit Output(const std::string& path);
    static Output file(const std::string& path, bool force, const std::string& kind);
    bool isAsChecked(const Descriptor& directory, const std::string& name) const;
    bool exchange(const Descriptor& directory, const std::string& name) const;
    bool replace(const Descriptor& directory, const std::string& name) const;

    NamedDirectory m_parent;
    std::string m_name;
    std::optional<struct stat> m_present;
};

} // namespace velacreate
