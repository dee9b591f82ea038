/// @file
/// Opens many files of one tree.
#pragma once

#include "support/descriptor.h"

#include <string>

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

private:
    /// @return the directory that a path is in, or -1 with errno set
    int enter(const std::string& path);

    int m_top;
    std::string m_where; ///< the open directory; empty for the top
    Descriptor m_open;
};

} // namespace velacreate
