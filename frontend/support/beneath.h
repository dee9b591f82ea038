/// @file
/// Opens many files of one tree, and goes through trees.
#pragma once

#include "support/descriptor.h"

#include <functional>
#include <string>
#include <vector>

namespace velacreate {

/// Opens files like openBeneath(), but keeps the directory of the last file open. For a thousand files in one
/// directory, each open then looks up only the last name.
class Beneath {
public:
    /// @param top  must stay open
    explicit Beneath(int top) : m_top(top) {}

    /// @return closed, with errno set, when it cannot be opened
    Descriptor open(const std::string& path, int flags, unsigned mode = 0);

    /// @return whether it was made; errno is set when it was not
    bool makeDirectory(const std::string& path, unsigned mode);

    /// Removes an empty directory.
    void removeDirectory(const std::string& path);

    /// @return the directory that a path is in, or -1 with errno set
    int enter(const std::string& path);

private:
    int m_top;
    std::string m_where; ///< the open directory; empty for the top
    Descriptor m_open;
};

/// Called with an entry's directory, open and as a path below the top of the tree, and its name.
/// @return whether to enter the entry
using VisitEntry =
    std::function<bool(const Descriptor& directory, const std::string& path, const std::string& name)>;

/// Visits all entries of a tree, a directory before its content. The number of open descriptors does not
/// depend on the depth. Leaves out what is no directory, cannot be opened, or is mounted there.
/// @return the entered directories, outermost first
/// @throw Failure when a directory cannot be read
std::vector<std::string> visitTree(int top, const VisitEntry& visit);

/// @return the path of an entry
std::string pathBelow(const std::string& directory, const std::string& name);

} // namespace velacreate
