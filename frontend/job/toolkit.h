/// @file
/// The launchers: scripts through which the library runs the ISO tool, the burner and zip.
#pragma once

#include "support/descriptor.h"
#include "support/programs.h"

#include <string>
#include <vector>

namespace velacreate {

enum class Launchers {
    ofDiscs,  ///< xorriso and cdrecord; the library copies them from the current directory
    ofNetboot ///< zip, which is found on the search path; optional in a user's folder
};

class Toolkit {
public:
    /// @param folder of the launchers; empty for velacreate's own
    /// @throw Refusal when one is missing
    explicit Toolkit(const std::string& folder, Launchers launchers = Launchers::ofDiscs);

    /// Demands programs that velacreate's own launchers run. Others may run other programs.
    /// @throw Refusal
    void requirePrograms(const std::vector<const char*>& names) const;

    /// Runs the burner's launcher in its folder.
    ProgramResult runBurner(const std::vector<std::string>& arguments) const;

    /// Copies them into the current directory. Commands find a launcher for zip there first.
    /// @throw Failure
    void copyHere() const;

private:
    bool m_isOwn;
    std::vector<std::string> m_names;
    Descriptor m_folder;
};

} // namespace velacreate
