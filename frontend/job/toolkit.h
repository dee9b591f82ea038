/// @file
/// The launchers, through which the library runs the ISO tool and the burner.
#ifndef VELACREATE_TOOLKIT_H
#define VELACREATE_TOOLKIT_H

#include "support/descriptor.h"

#include <string>

namespace velacreate {

class Toolkit {
public:
    /// @param folder  where the launchers are; empty for those that belong to this executable
    /// @throw Refusal when one is missing
    explicit Toolkit(const std::string& folder);

    /// Whether they are velacreate's own: what another folder's run is up to them.
    bool isOwn() const {
        return m_isOwn;
    }

    /// Puts them into the current directory.
    /// @throw Failure
    void copyHere() const;

private:
    bool m_isOwn;
    Descriptor m_folder;
};

} // namespace velacreate

#endif
