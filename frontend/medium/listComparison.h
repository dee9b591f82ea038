/// @file
/// Compares media with the lists of sums that are on them.
#pragma once

#include "medium/comparison.h"
#include "medium/kinds.h"
#include "medium/readBack.h"
#include "trust/mediumList.h"
#include "trust/signature.h"

#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// What a call that compares media in this way has.
struct ListCall {
    const ShowChoices& show;
    const std::optional<PublicKeys>& trusted; ///< none when signatures are not looked at
    const NamedDirectory& scratch;            ///< parent of an empty job directory
    Console& console;
};

/// Compares media with their lists side by side. Each difference is a line on standard output.
/// @return their outcomes, in order
std::vector<Outcome> compareWithLists(const ListCall& call, const Kind& kind,
                                      const std::vector<ComparedMedium>& media, const HeldSignals& signals);

/// Compares a medium with its list, and shows the result.
/// @return the exit status
int compareAloneWithList(const ListCall& call, const Kind& kind, const OpenMedium& medium,
                         const ReadMedium& read);

/// @param medium  such as "the image"
/// @return what it means that there is no difference, as a sentence
std::string meaningText(const ListCall& call, const std::string& medium,
                        const std::vector<Outcome>& outcomes);

/// @name In the job's process
/// @{

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
/// @}

} // namespace velacreate
