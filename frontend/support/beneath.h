/// @file
/// Many files of one tree, opened one after another.
#pragma once

#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// Opens what lies below a directory as openBeneath() does, and keeps open the directory that the last one
/// was in: of a thousand files in one directory, each then costs a look-up of its last name only.
class Beneath {
public:
    /// @param top  stays open for as long as this lives
    explicit Beneath(int top) : m_top(top) {}

    /// @return closed, with errno set, when it cannot be opened
    Descriptor open(const std::string& path, int flags, unsigned mode = 0);

    /// @return whether it was made; errno is set when it was not
    bool makeDirectory(const std::string& path, unsigned mode);

private:
    /// @return the directory that a path is in, or -1 with errno set
    int enter(const std::string& path);

    int m_top;
    std::string m_where; ///< the directory that is open; the top itself when empty
    Descriptor m_open;
};

} // namespace velacreate
