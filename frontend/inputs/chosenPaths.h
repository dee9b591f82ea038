/// @file
/// The paths of update files, as a user names them.
#pragma once

#include "support/descriptor.h"

#include <string>
#include <vector>

namespace velacreate {

/// Turns the paths that a user has named into paths below the directory of the update files.
class ChosenPaths {
public:
    /// @param directory  as the user named it
    /// @param open       the same directory, open
    ChosenPaths(const std::string& directory, const Descriptor& open);

    /// Whether these paths are only the directory itself, or none.
    bool areEverything(const std::vector<std::string>& paths) const;

    /// @throw Refusal when the path does not lie below the directory
    std::string below(const std::string& path) const;

private:
    /// @return the parts below the directory; empty for the directory itself
    std::vector<std::string> partsBelow(const std::string& path) const;

    std::string m_directory;
    std::vector<std::string> m_asNamed;
    std::vector<std::string> m_asItIs;
};

} // namespace velacreate
