/// @file
/// In the job's process: compares a medium with the list of sums that is on it.
#pragma once

#include "job/reporter.h"
#include "medium/contents.h"
#include "medium/kinds.h"
#include "medium/readBack.h"
#include "trust/mediumList.h"
#include "trust/signature.h"

#include <optional>
#include <string>

namespace velacreate {

/// The result of a key ends with it where signatures are not looked at.
constexpr const char* BOOT_CODE_NOT_COMPARED = "boot code not compared";

/// The list on a medium, and its signature.
struct ListFiles {
    std::string list;
    std::string signature; ///< empty when there is none
};

/// @return what must be on a medium with this list: its files, and the directories that they are in
/// @throw Untrusted when it is not right for this kind of medium
Tree treeOf(const Sums& sums, const ListFiles& files, const Kind& kind);

/// @return what should be on a medium that was made with a list or without one, as the medium itself has it:
/// then also the list that would be made now, and the signature that is there
/// @param jobDirectory  with the sources of the contents
Contents withListAsOn(const ReadMedium& medium, const Kind& kind, Contents contents,
                      const Descriptor& jobDirectory, Reporter& reporter);

/// Reads the list in a confined process, and looks at the signature. Then compares the medium in another one.
/// @param visible  an empty directory
/// @return 0, or EXIT_DIFFERENT after a difference was reported
/// @throw Untrusted
int compareWithList(const Kind& kind, const ReadMedium& medium, const std::optional<PublicKeys>& trusted,
                    const Descriptor& visible, Reporter& reporter);

} // namespace velacreate
