/// @file
/// The launchers, through which the library runs the ISO tool, the burner and zip.
#pragma once

#include "support/descriptor.h"
#include "support/programs.h"

#include <string>
#include <vector>

namespace velacreate {

enum class Launchers {
    ofDiscs,  ///< xorriso and cdrecord, which the library copies from the current directory
    ofNetboot ///< zip, which it finds on the search path; only velacreate's own folder must have it
};

class Toolkit {
public:
    /// @param folder  where the launchers are; empty for those that belong to this executable
    /// @throw Refusal when one is missing
    explicit Toolkit(const std::string& folder, Launchers launchers = Launchers::ofDiscs);

    /// Whether they are velacreate's own: what another folder's run is up to them.
    bool isOwn() const { return m_isOwn; }

    /// Runs the burner's, from where it is.
    ProgramResult runBurner(const std::vector<std::string>& arguments) const;

    /// Puts them into the current directory; with a launcher for zip, commands look there first from now on.
    /// @throw Failure
    void copyHere() const;

private:
    bool m_isOwn;
    std::vector<std::string> m_names;
    Descriptor m_folder;
};

} // namespace velacreate
